#include "mock-server/TranslateFunction.h"

#include "mock-server/AuthService.h"
#include "mock-server/ModelService.h"
#include "mock-server/OfflineAnswer.h"
#include "mock-server/RequestChecks.h"
#include "mock-server/WavFile.h"
#include "translation/Replies.h"
#include "translation/RequestBody.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

namespace {

const auto model = u"google/gemini-2.5-flash"_s;
// A name of a language, not a text that would talk the model into something else.
constexpr qsizetype longestLanguage = 100;

Reply failure(int status, const QString& message) {
    return Reply::json(status, {{u"error"_s, QJsonObject{{u"message"_s, message}}}});
}

Reply translation(const QString& text) {
    return Reply::json(200, {{u"text"_s, text}});
}

} // namespace

TranslateFunction::TranslateFunction(const AuthService& accounts, ModelService& models)
    : m_accounts(accounts), m_models(models) {}

void TranslateFunction::answer(const Request& request, HttpHandler::Responder respond) {
    if (const auto checked = checkPost(request); !checked)
        return respond(checked.error());
    if (!m_accounts.bearer(request))
        return respond(refusal(401, u"Invalid or expired access token"_s));
    const auto body = readObject(request);
    if (!body)
        return respond(body.error());
    const auto language = body->value(u"language"_s).toString();
    if (language.isEmpty() || language.size() > longestLanguage)
        return respond(failure(400, u"language: a name is needed"_s));
    const auto audio = decodeBase64(body->value(u"audio"_s).toString());
    const auto sound = audio ? measureWav(*audio) : std::unexpected(audio.error());
    if (!sound)
        return respond(failure(400, u"audio: "_s + sound.error().description));
    if (!m_models.isAvailable())
        return respond(translation(offlineAnswer(*sound, language)));

    m_models.ask(chatBody(*audio, language, model),
                 [respond = std::move(respond)](const Result<HttpResponse>& response) mutable {
                     if (!response)
                         return respond(failure(502, u"The model service did not answer"_s));
                     const auto text = readOpenRouterReply(*response);
                     respond(text ? translation(*text) : failure(502, text.error().description));
                 });
}

} // namespace tavrik::backend
