// Adds numbered records to the history in a folder until it is killed.

#include "history/HistoryStore.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    tavrik::HistoryStore store(QCoreApplication::arguments().at(1));
    qsizetype number = store.items().size();
    std::puts("ready");
    std::fflush(stdout);
    while (true) {
        store.insertFirst(
            {QUuid::createUuid(), QDateTime::currentDateTimeUtc(), QByteArray::number(++number), 1});
        QThread::msleep(1);
    }
}
