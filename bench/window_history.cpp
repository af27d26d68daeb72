// The history's page over a hundred thousand records: a keystroke in its search beside rg over the same
// texts, the frames of scrolling, and what opening costs.  window_history [records]

#include "Frames.h"
#include "SomeHistory.h"
#include "ui/HistoryDesk.h"
#include "ui/PageView.h"

#include <QApplication>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <optional>

using namespace tavrik;
using namespace tavrik::bench;
using namespace tavrik::test;

namespace {

/// From the call until the frame that shows its result is on the screen.
template<class Call>
double untilShown(QQuickWindow& window, const Call& call) {
    return untilFrame([&]() -> QQuickWindow& {
        call();
        window.update();
        return window;
    });
}

/// The last letter of `word`, when the others are typed already.
void benchSearch(PageView& view, TranscriptionModel& model, const QString& corpus, const QString& word) {
    std::vector<double> filter;
    std::vector<double> shown;
    std::vector<double> peer;
    QProcess rg;
    rg.setStandardOutputFile(QProcess::nullDevice());
    for (int round = 0; round < 9; ++round) {
        model.setQuery(word.chopped(1));
        untilShown(view, [] {});
        filter.push_back(timed([&] { model.setQuery(word); }));
        model.setQuery(word.chopped(1));
        untilShown(view, [] {});
        shown.push_back(untilShown(view, [&] { model.setQuery(word); }));
        peer.push_back(timed([&] {
            rg.start(QStringLiteral("rg"),
                     {QStringLiteral("-i"), QStringLiteral("-F"), QStringLiteral("-c"), word, corpus});
            rg.waitForFinished();
        }));
    }
    std::printf(
        "%-18s %6d rows: filtered and grouped %6.2f ms, on the screen %6.2f ms; rg -i -F -c %6.2f ms\n",
        qUtf8Printable(word), model.rowCount(), median(filter), median(shown), median(peer));
}

void benchScroll(PageView& view) {
    const auto items = view.rootObject()->findChildren<QQuickItem*>();
    const auto found =
        std::ranges::find_if(items, [](auto* item) { return item->inherits("QQuickListView"); });
    auto* list = found == items.end() ? nullptr : *found;
    const auto scrollTo = [list](double y) {
        QMetaObject::invokeMethod(list, "scrollTo", Q_ARG(double, y));
    };
    const auto position = [list] {
        return list->property("contentY").toDouble();
    };

    if (list->property("count").toInt() < 1000)
        std::printf("too few rows to scroll\n");
    std::vector<double> wheel(600);
    for (auto& frame : wheel)
        frame = untilShown(view, [&] { scrollTo(position() + 60); });
    std::vector<double> jumps(100);
    const double end = list->property("lastY").toDouble();
    for (std::size_t step = 0; step < jumps.size(); ++step)
        jumps[step] = untilShown(view, [&] { scrollTo(end * double(step * 37 % 100) / 100); });
    std::printf("scroll by the wheel: frame %.1f ms, the worst %.1f; to anywhere: %.1f ms, the worst %.1f\n",
                median(wheel), worst(wheel), median(jumps), worst(jumps));
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const int count = QCoreApplication::arguments().value(1, QStringLiteral("100000")).toInt();

    const auto records = someHistory(count);
    HistoryDesk desk(records);
    QFile texts(desk.folder.filePath(QStringLiteral("texts")));
    if (!texts.open(QIODevice::WriteOnly))
        return 1;
    for (const auto& record : records)
        texts.write(record.text + '\n');
    texts.close();
    desk.store.items();

    CalledDays days;
    std::unique_ptr<HistoryPages> pages;
    std::printf("%d records\n", count);
    std::printf("models made in %.1f ms\n",
                timed([&] { pages = std::make_unique<HistoryPages>(desk.dependencies(days)); }));
    std::optional<ViewEngine> engine;
    std::optional<PageView> view;
    std::printf("page opened and on the screen in %.1f ms\n", timed([&] {
                    view.emplace(engine.emplace(), QStringLiteral("history/HistoryView"), *pages);
                    view->show();
                    untilShown(*view, [] {});
                }));
    std::printf("first search, if nobody waited: %.1f ms\n",
                timed([&] { pages->all()->setQuery(QStringLiteral("z")); }));
    pages->all()->setQuery({});
    benchScroll(*view);
    for (const char* word : {"e", "the", "meeting", "tomorrow please", "STRASSE", "xyzzy"})
        benchSearch(*view, *pages->all(), texts.fileName(), QString::fromLatin1(word));
    return 0;
}
