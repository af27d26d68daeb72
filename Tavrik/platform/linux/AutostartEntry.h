#pragma once

#include "platform/LoginItem.h"

#include <QString>

namespace tavrik {

/// An entry in the user's autostart folder. One that is there but switched off, as desktops do it, counts as
/// none.
class AutostartEntry : public LoginItem {
public:
    /// `file` is the entry, `program` the absolute path of what it starts.
    AutostartEntry(QString file, QString program);

    bool isEnabled() const override;
    void setEnabled(bool enabled) override;

    /// Where the entry of this program is.
    static QString standardFile();

private:
    const QString m_file;
    const QString m_program;
};

} // namespace tavrik
