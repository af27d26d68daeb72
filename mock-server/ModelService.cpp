#include "mock-server/ModelService.h"

#include "services/HttpClient.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

ModelService::ModelService(HttpClient& http, Options options) : m_http(http), m_options(std::move(options)) {}

void ModelService::ask(const QByteArray& body, Completion<HttpResponse> completion) {
    auto url = m_options.url;
    url.setPath(QString::fromLatin1(path));
    m_http.send(
        {.method = "POST",
         .url = url,
         .headers = {{"Authorization", "Bearer " + m_options.key}, {"Content-Type", "application/json"}},
         .body = body},
        [completion = std::move(completion)](Result<HttpResponse> response) mutable {
            if (response && response->oversized)
                return completion(std::unexpected(Error{u"The service's reply is too long"_s}));
            completion(std::move(response));
        });
}

} // namespace tavrik::backend
