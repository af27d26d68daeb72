#include "ui/history/UserFormats.h"

#include <QLocale>
#include <QTimeZone>

#include <unicode/datefmt.h>
#include <unicode/numberformatter.h>
#include <unicode/unistr.h>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

QString toQString(const icu::UnicodeString& text) {
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
}

} // namespace

struct UserFormats::Formats {
    icu::number::LocalizedNumberFormatter compact;
    std::unique_ptr<icu::DateFormat> date;
};

UserFormats::UserFormats(UserLocale locale)
    : m_locale(std::move(locale)), m_formats(std::make_unique<Formats>()) {
    m_formats->compact = icu::number::NumberFormatter::withLocale(m_locale.numbers.c_str())
                             .notation(icu::number::Notation::compactShort());
}

UserFormats::~UserFormats() = default;

QString UserFormats::compact(qint64 number) const {
    UErrorCode status = U_ZERO_ERROR;
    const auto text = m_formats->compact.formatInt(number, status).toString(status);
    return U_SUCCESS(status) ? toQString(text) : QString::number(number);
}

QString UserFormats::dayTitle(QDate day, QDate today) const {
    if (day == today)
        return u"Today"_s;
    if (day.addDays(1) == today)
        return u"Yesterday"_s;

    if (!m_formats->date) {
        UErrorCode status = U_ZERO_ERROR;
        m_formats->date.reset(
            icu::DateFormat::createInstanceForSkeleton("yMMMd", m_locale.dates.c_str(), status));
        if (U_FAILURE(status))
            return QLocale::c().toString(day, QLocale::ShortFormat);
        m_formats->date->setTimeZone(*icu::TimeZone::getGMT());
    }
    icu::UnicodeString text;
    m_formats->date->format(static_cast<UDate>(day.startOfDay(QTimeZone::utc()).toMSecsSinceEpoch()), text);
    return toQString(text);
}

QString UserFormats::caption(const QString& title) const {
    return QLocale(QString::fromStdString(m_locale.dates)).toUpper(title);
}

QString UserFormats::time(QTime time) {
    static const QLocale locale(QLocale::English, QLocale::UnitedStates);
    return locale.toString(time, u"h:mm AP");
}

} // namespace tavrik
