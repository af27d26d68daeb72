// Adds numbered records to the history in a folder until it is killed.

#include "history/HistoryStore.h"

#include <QThread>

#include <cstdio>

int main(int, char* argv[]) {
    tavrik::HistoryStore store(QString::fromLocal8Bit(argv[1]));
    std::puts("ready");
    std::fflush(stdout);
    for (auto number = store.items().size() + 1;; ++number, QThread::msleep(1))
        store.insertFirst(
            {QUuid::createUuid(), QDateTime::currentDateTimeUtc(), QByteArray::number(number), 1});
}
