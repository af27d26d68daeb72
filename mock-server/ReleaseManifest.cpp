#include "mock-server/ReleaseManifest.h"

#include "base/AppVersion.h"
#include "base/PrivateFiles.h"
#include "mock-server/RequestChecks.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

ReleaseManifest::ReleaseManifest(QString file) : m_file(std::move(file)) {}

Reply ReleaseManifest::answer(const Request& request) const {
    constexpr qint64 largest = qint64{1024} * 1024;
    if (request.method != "GET")
        return refusal(405, u"Method Not Allowed"_s);
    if (const auto content = readRegularFile(m_file, largest))
        return {200, {{"Content-Type", "application/json"}}, *content};
    return Reply::json(200, {{u"version"_s, appVersion()},
                             {u"url"_s, u"http://127.0.0.1/"_s},
                             {u"notes"_s, u"This is the version in use."_s}});
}

} // namespace tavrik::backend
