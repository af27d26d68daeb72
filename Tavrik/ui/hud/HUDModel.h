#pragma once

#include <QList>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace tavrik {

/// What the panel shows: the meter, the spinner, or only the hint.
enum class HUDState { recording, processing, note };

/// What the panel shows and where its buttons lead. Main thread only.
class HUDModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The panel is given its model.")
    Q_PROPERTY(bool processing READ isProcessing NOTIFY stateChanged)
    Q_PROPERTY(bool note READ isNote NOTIFY stateChanged)
    Q_PROPERTY(QString hint READ hint NOTIFY hintChanged)

public:
    static constexpr int barCount = 14;

    explicit HUDModel(QObject* parent = nullptr);

    HUDState state() const { return m_state; }
    bool isProcessing() const { return m_state == HUDState::processing; }
    bool isNote() const { return m_state == HUDState::note; }
    void setState(HUDState state);

    /// A line below the meter, or the note; empty if there is none.
    QString hint() const { return m_hint; }
    void setHint(const QString& hint);

    /// The meter's values, 0 to 1, oldest first; always `barCount` of them outside `push`.
    QList<double> levels() const { return m_levels; }
    /// Empties the meter.
    void clearLevels();
    /// Shifts the meter by one sample, `level` being 0 to 1. The removal and the addition are announced
    /// separately.
    void push(double level);

    /// Replaces what the two buttons do.
    void setActions(std::function<void()> onCancel, std::function<void()> onConfirm);

    Q_INVOKABLE void cancel() const { m_onCancel(); }
    Q_INVOKABLE void confirm() const { m_onConfirm(); }

Q_SIGNALS:
    void stateChanged();
    void levelsChanged();
    void hintChanged();

private:
    QString m_hint;
    HUDState m_state = HUDState::recording;
    QList<double> m_levels = QList<double>(barCount, 0.0);
    std::function<void()> m_onCancel = [] {
    };
    std::function<void()> m_onConfirm = [] {
    };
};

} // namespace tavrik
