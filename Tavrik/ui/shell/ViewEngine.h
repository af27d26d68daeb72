#pragma once

#include <QQmlEngine>

namespace tavrik {

/// What the views of the program are made with, one for all of them: finds their files, and draws the symbols
/// they name. Main thread only.
class ViewEngine : public QQmlEngine {
    Q_OBJECT

public:
    explicit ViewEngine(QObject* parent = nullptr);
};

} // namespace tavrik
