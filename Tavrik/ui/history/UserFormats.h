#pragma once

#include "ui/history/UserLocale.h"

#include <QDate>
#include <QString>

#include <memory>

namespace tavrik {

/// Numbers and days as the user's locale writes them. By ICU: QLocale has neither compact numbers, nor an
/// abbreviated date, nor a locale's own calendar. Main thread only.
class UserFormats {
public:
    explicit UserFormats(UserLocale locale);
    ~UserFormats();

    /// A whole number in compact form: "950", "1.2K", "3M".
    QString compact(qint64 number) const;

    /// "Today", "Yesterday", or the date in its abbreviated form.
    QString dayTitle(QDate day, QDate today) const;

    /// A title in upper case.
    QString caption(const QString& title) const;

    /// The time of day; the same in every locale.
    static QString time(QTime time);

private:
    struct Formats;

    UserLocale m_locale;
    std::unique_ptr<Formats> m_formats;
};

} // namespace tavrik
