#include "mock-server/BrowserPages.h"

#include "mock-server/AuthService.h"
#include "mock-server/RequestChecks.h"
#include "mock-server/Secrets.h"

#include <QJsonObject>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

namespace {

constexpr int maximumForms = 100;

Reply page(int status, const QString& title, const QString& body) {
    const auto html =
        u"<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\"><title>%1</title></head>"
        u"<body><h1>%1</h1>%2<p>This is a mock server on your own machine.</p></body></html>"_s;
    return {status,
            {{"Content-Type", "text/html; charset=utf-8"},
             {"Cache-Control", "no-store"},
             {"Referrer-Policy", "no-referrer"},
             {"Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'"}},
            html.arg(title, body).toUtf8()};
}

Reply backToProgram(const QUrlQuery& outcome) {
    return {303,
            {{"Location",
              QByteArray(BrowserPages::callback) + '#' + outcome.toString(QUrl::FullyEncoded).toLatin1()},
             {"Cache-Control", "no-store"}}};
}

QUrlQuery parameters(const QByteArray& encoded) {
    return QUrlQuery(QString::fromUtf8(QByteArray(encoded).replace('+', ' ')));
}

QString value(const QUrlQuery& query, const QString& key) {
    return query.queryItemValue(key, QUrl::FullyDecoded);
}

} // namespace

Reply BrowserPages::authorize(const Request& request) {
    const auto query = parameters(request.query);
    if (request.method != "GET")
        return refusal(405, u"Method Not Allowed"_s);
    if (value(query, u"provider"_s) != u"google")
        return refusal(400, u"Unsupported provider: provider is not enabled"_s);
    if (value(query, u"redirect_to"_s) != QLatin1StringView(callback))
        return refusal(400, u"redirect_to is not this project's"_s);
    if (m_forms.size() >= maximumForms)
        m_forms.clear();
    const auto form = QString::fromLatin1(randomToken());
    m_forms.insert(form);
    return page(
        200, u"Sign in to Tavrik"_s,
        u"<form method=\"post\" action=\"/auth/v1/callback\"><input type=\"hidden\" name=\"state\" "
        u"value=\"%1\">"
        "<p><label>Account <input name=\"email\" type=\"email\" value=\"somebody@example.com\"></label></p>"
        "<p><button name=\"answer\" value=\"continue\">Continue with this account</button> "
        "<button name=\"answer\" value=\"cancel\">Cancel</button></p></form>"_s.arg(form));
}

Reply BrowserPages::authorized(const Request& request) {
    const auto form = parameters(request.body);
    if (request.method != "POST")
        return refusal(405, u"Method Not Allowed"_s);
    if (!m_forms.remove(value(form, u"state"_s)))
        return page(400, u"This page has been used"_s, u"<p>Begin again in Tavrik.</p>"_s);
    if (value(form, u"answer"_s) != u"continue")
        return backToProgram(
            {{u"error"_s, u"access_denied"_s}, {u"error_description"_s, u"The+user+denied+access"_s}});
    const auto session = m_accounts.signInConfirmed(value(form, u"email"_s));
    if (!session)
        return backToProgram(
            {{u"error"_s, u"server_error"_s}, {u"error_description"_s, u"The+account+could+not+be+used"_s}});
    QUrlQuery outcome;
    for (const auto& member :
         {u"access_token"_s, u"refresh_token"_s, u"expires_in"_s, u"expires_at"_s, u"token_type"_s})
        outcome.addQueryItem(member, session->value(member).toVariant().toString());
    return backToProgram(outcome);
}

Reply BrowserPages::mail(const Request& request) const {
    if (request.method != "GET")
        return refusal(405, u"Method Not Allowed"_s);
    QString list;
    for (const auto& [token, email] : m_accounts.mailbox().asKeyValueRange())
        list += u"<li><a href=\"/auth/v1/verify?type=signup&amp;token=%1\">Confirm %2</a></li>"_s.arg(
            QString::fromLatin1(token), email.toHtmlEscaped());
    return page(200, u"Messages"_s, list.isEmpty() ? u"<p>None.</p>"_s : u"<ul>%1</ul>"_s.arg(list));
}

Reply BrowserPages::verify(const Request& request) {
    if (request.method != "GET")
        return refusal(405, u"Method Not Allowed"_s);
    const auto token = value(parameters(request.query), u"token"_s).toLatin1();
    if (!m_accounts.confirm(token))
        return page(400, u"This link has been used"_s, {});
    return page(200, u"Address confirmed"_s, u"<p>Sign in in Tavrik.</p>"_s);
}

} // namespace tavrik::mock
