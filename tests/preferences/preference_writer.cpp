// Writes one preference after the other: preference_writer FILE PREFIX COUNT

#include "platform/linux/JsonPreferenceStore.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    tavrik::JsonPreferenceStore store(arguments.at(1));
    std::puts("ready");
    std::fflush(stdout);
    for (int i = 0; i < arguments.at(3).toInt(); ++i) {
        if (!store.setValue(arguments.at(2) + QString::number(i), i))
            return 1;
        // No user writes without a pause, in which the other one gets a chance.
        QThread::msleep(1);
    }
    return 0;
}
