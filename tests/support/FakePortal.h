#pragma once

#include "support/FakeService.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QHash>
#include <QTemporaryDir>

namespace tavrik {

/// A desktop portal. Notes what it is asked, and answers as it is told.
class FakePortal : public FakeService {
public:
    struct Response {
        uint code = 0;
        QVariantMap results = {};
    };

    FakePortal() : FakeService(service()) {
        bus().registerService(u"org.freedesktop.impl.portal.PermissionStore"_s);
    }

    /// What the program remembers of the portal, as long as that lasts.
    QString grantsPath() const { return m_folder.filePath(u"grants/portals.json"_s); }

    static QString service() { return u"org.freedesktop.portal.Desktop"_s; }

    /// Sends a signal about a shortcut of the session "/session".
    static void sendShortcutSignal(const QString& name, const QString& shortcut = u"dictate-2048-49"_s,
                                   qulonglong time = 0) {
        auto signal = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                                 u"org.freedesktop.portal.GlobalShortcuts"_s, name);
        signal << QVariant::fromValue(QDBusObjectPath(u"/session"_s)) << shortcut << time << QVariantMap();
        bus().send(signal);
    }

    /// The arguments of the latest call of each.
    QHash<QString, QVariantList> arguments;
    /// By the interface's last word.
    QHash<QString, uint> versions;
    /// What methods with a Request respond. One that is not here never does.
    QHash<QString, Response> responses{{u"CreateSession"_s, {0, {{u"session_handle"_s, u"/session"_s}}}}};
    /// What methods without a Request reply.
    QHash<QString, QVariant> replies;
    /// The errors of methods that fail.
    QHash<QString, QString> errors;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        const auto method = message.member();
        auto values = message.arguments();
        if (method == u"Get"_s) {
            const auto version = versions.value(values.at(0).toString().section(u'.', -1));
            return bus.send(version ? message.createReply(QVariant::fromValue(QDBusVariant(version)))
                                    : message.createErrorReply(QDBusError::InvalidArgs, QString()));
        }
        for (auto& value : values)
            if (value.canConvert<QDBusArgument>() &&
                value.value<QDBusArgument>().currentType() == QDBusArgument::MapType)
                value = qdbus_cast<QVariantMap>(value);
        if (method != u"Register"_s && method != u"Ping"_s)
            calls += method;
        arguments.insert(method, values);
        if (errors.contains(method))
            return bus.send(message.createErrorReply(errors.value(method), QString()));
        const auto token =
            values.isEmpty() ? QString() : values.last().toMap().value(u"handle_token"_s).toString();
        if (token.isEmpty())
            return bus.send(replies.contains(method) ? message.createReply(replies.value(method))
                                                     : message.createReply());
        const auto path = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(
            message.service().mid(1).replace(u'.', u'_'), token);
        bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(path))));
        if (responses.contains(method)) {
            const auto& [code, results] = responses[method];
            bus.send(QDBusMessage::createSignal(path, u"org.freedesktop.portal.Request"_s, u"Response"_s)
                     << code << results);
        }
        return true;
    }

private:
    QTemporaryDir m_folder;
};

} // namespace tavrik
