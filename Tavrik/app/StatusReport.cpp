#include "app/StatusReport.h"

#include <algorithm>
#include <array>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

constexpr std::array neededForDictation{"hot key"_L1, "microphone"_L1, "clipboard"_L1, "paste"_L1};

} // namespace

StatusReport reportStatus(const QList<NamedService>& services) {
    StatusReport report{.text = {}, .canDictate = true};
    for (const auto& [name, service] : services) {
        const auto status = service->status();
        report.text += u"%1 %2 %3"_s.arg(name + u':', -12)
                           .arg(status.works ? u"works"_s : u"not working"_s, -12)
                           .arg(status.backend);
        if (!status.reason.isEmpty())
            report.text += u": "_s + status.reason;
        report.text += u'\n';
        if (!status.works && std::ranges::find(neededForDictation, name) != neededForDictation.end())
            report.canDictate = false;
    }
    return report;
}

} // namespace tavrik
