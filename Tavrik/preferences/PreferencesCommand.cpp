#include "preferences/PreferencesCommand.h"

#include "platform/PreferenceStore.h"
#include "preferences/PreferenceKeys.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

#include <algorithm>

namespace tavrik {

namespace {

using preferences::Any;

QString nameOf(const Any& preference) {
    return std::visit([](const auto& p) { return p.name.toString(); }, preference);
}

QVariant toVariant(QStringView value) {
    return value.toString();
}

QVariant toVariant(bool value) {
    return value;
}

QVariant toVariant(quint32 value) {
    return qlonglong{value};
}

QVariant fallbackOf(const Any& preference) {
    return std::visit([](const auto& p) { return toVariant(p.fallback); }, preference);
}

bool isUsable(const Any& preference, const QVariant& stored) {
    return std::visit([&stored](const auto& p) { return usable(p, stored).has_value(); }, preference);
}

bool isSecret(const Any& preference) {
    return nameOf(preference) == preferences::openRouterKey.name;
}

const Any* find(const QString& name) {
    const auto found = std::ranges::find(preferences::all, name, nameOf);
    return found == preferences::all.end() ? nullptr : found;
}

std::optional<QVariant> parse(const Preference<quint32>&, const QString& text) {
    bool good = false;
    const auto number = text.toUInt(&good);
    return good ? std::optional(toVariant(number)) : std::nullopt;
}

std::optional<QVariant> parse(const Preference<bool>&, const QString& text) {
    if (text != u"true" && text != u"false")
        return std::nullopt;
    return text == u"true";
}

std::optional<QVariant> parse(const Preference<QStringView>&, const QString& text) {
    return text;
}

const char* expectation(const Preference<quint32>&) {
    return "a whole number from 0 to 4294967295";
}

const char* expectation(const Preference<bool>&) {
    return "true or false";
}

const char* expectation(const Preference<QStringView>&) {
    return "a text";
}

// As JSON shows it: texts in quotes, with whatever a terminal could take for a command escaped.
QString shown(const QVariant& value) {
    const auto array =
        QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.sliced(1, array.size() - 2));
}

ExitStatus get(const Any& preference, const PreferenceStore& store, const CommandStreams& streams) {
    const auto stored = store.value(nameOf(preference));
    const bool counts = isUsable(preference, stored);
    streams.out << (counts ? stored : fallbackOf(preference)).toString() << '\n';
    return counts ? exitSuccess : exitFailure;
}

ExitStatus set(const Any& preference, const QString& argument, PreferenceStore& store,
               const CommandStreams& streams) {
    const auto name = nameOf(preference);
    const bool fromInput = argument == u"-";
    if (isSecret(preference) && !fromInput) {
        streams.err
            << "tavrik: other users of this computer can read arguments. Give the key on the standard input: "
            << "tavrik preferences set " << name << " -\n";
        return exitUsage;
    }
    const auto text = fromInput ? streams.in.readLine() : argument;
    if (text.isNull()) {
        streams.err << "tavrik: no value on the standard input\n";
        return exitUsage;
    }
    const auto value = std::visit([&text](const auto& p) { return parse(p, text); }, preference);
    if (!value) {
        streams.err << "tavrik: " << name << " takes "
                    << std::visit([](const auto& p) { return expectation(p); }, preference) << ", not \""
                    << text << "\"\n";
        return exitUsage;
    }
    if (!store.setValue(name, *value)) {
        streams.err << "tavrik: the preferences could not be written\n";
        return exitFailure;
    }
    return exitSuccess;
}

ExitStatus unset(const Any& preference, PreferenceStore& store, const CommandStreams& streams) {
    if (store.remove(nameOf(preference)))
        return exitSuccess;
    streams.err << "tavrik: the preferences could not be written\n";
    return exitFailure;
}

ExitStatus list(const PreferenceStore& store, const CommandStreams& streams) {
    for (const auto& preference : preferences::all) {
        const auto name = nameOf(preference);
        const auto stored = store.value(name);
        streams.out << name << " = ";
        if (isUsable(preference, stored)) {
            const bool mask = isSecret(preference) && !stored.toString().isEmpty();
            streams.out << (mask ? QStringLiteral("********") : shown(stored)) << '\n';
        } else {
            streams.out << shown(fallbackOf(preference))
                        << (stored.isValid() ? " (default; what is stored is of another type)\n"
                                             : " (default)\n");
        }
    }
    for (const auto& key : store.keys()) {
        if (find(key) == nullptr)
            streams.out << key << " = " << shown(store.value(key)) << " (not a preference of this version)\n";
    }
    return exitSuccess;
}

ExitStatus complain(const CommandStreams& streams) {
    streams.err << "Usage: tavrik preferences get KEY\n"
                   "       tavrik preferences set KEY VALUE   (VALUE - reads it from the standard input)\n"
                   "       tavrik preferences unset KEY\n"
                   "       tavrik preferences list\n";
    return exitUsage;
}

} // namespace

ExitStatus runPreferencesCommand(const QStringList& arguments, PreferenceStore& store,
                                 const CommandStreams& streams) {
    const auto verb = arguments.value(0);
    if (verb == u"list" && arguments.size() == 1)
        return list(store, streams);
    const bool isComplete = verb == u"set" ? arguments.size() == 3 : arguments.size() == 2;
    if (!isComplete || (verb != u"get" && verb != u"set" && verb != u"unset"))
        return complain(streams);
    const auto* preference = find(arguments.at(1));
    if (preference == nullptr) {
        QStringList names;
        for (const auto& known : preferences::all)
            names.append(nameOf(known));
        streams.err << "tavrik: there is no preference \"" << arguments.at(1) << "\", only "
                    << names.join(QStringLiteral(", ")) << '\n';
        return exitUsage;
    }
    if (verb == u"get")
        return get(*preference, store, streams);
    if (verb == u"set")
        return set(*preference, arguments.at(2), store, streams);
    return unset(*preference, store, streams);
}

} // namespace tavrik
