#include "translation/RequestBody.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QString>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// The text as a JSON string, quotes included. Lone surrogates, which services refuse, are replaced.
QByteArray quoted(const QString& text) {
    const auto valid = QString::fromUtf8(text.toUtf8());
    return QJsonDocument(QJsonArray{valid}).toJson(QJsonDocument::Compact).sliced(1).chopped(1);
}

/// `before` + base64 + `after`. A recording does not go through QJsonDocument: it needs no escaping, and
/// copies of a long one would take most of the time between release and request.
QByteArray around(const QByteArray& before, const QByteArray& audio, const QByteArray& after) {
    const auto encoded = audio.toBase64();
    QByteArray body;
    body.reserve(before.size() + encoded.size() + after.size());
    return body.append(before).append(encoded).append(after);
}

QString prompt(const QString& language) {
    return u"You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing "
           "in some English words or technical terms. Translate everything they said into fluent, natural, "
           "native-sounding "_s +
           language + u". Preserve the meaning, tone, and level of formality. Output ONLY the final "_s +
           language + u" text — no quotes, no preamble, no explanations."_s;
}

} // namespace

QByteArray translateBody(const QByteArray& audio, const QString& language) {
    return around(R"({"language":)" + quoted(language) + R"(,"audio":")", audio, R"("})");
}

QByteArray chatBody(const QByteArray& audio, const QString& language, const QString& model) {
    return around(R"({"model":)" + quoted(model) +
                      R"(,"temperature":0.2,"messages":[{"role":"user","content":[{"type":"text","text":)" +
                      quoted(prompt(language)) +
                      R"(},{"type":"input_audio","input_audio":{"format":"wav","data":")",
                  audio, R"("}}]}]})");
}

} // namespace tavrik
