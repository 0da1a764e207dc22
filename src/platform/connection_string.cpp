// Connection strings: a SQLite file (with or without "sqlite:") or a postgresql:// address.
#include "platform/database.h"

#include "texts/texts.h"

#include <QUrl>

namespace qx {

namespace {

QString decoded(const QString& part)
{
    return QUrl::fromPercentEncoding(part.toUtf8());
}

ConnectionInfo parsePostgres(const QString& text, qsizetype schemeEnd)
{
    ConnectionInfo info;
    info.backend = Backend::PostgreSql;
    QString rest = text.mid(schemeEnd);
    QString query;
    if (const qsizetype q = rest.indexOf(QLatin1Char('?')); q >= 0) {
        query = rest.mid(q + 1);
        rest.truncate(q);
    }
    const qsizetype slash = rest.indexOf(QLatin1Char('/'));
    const QString authority = slash < 0 ? rest : rest.left(slash);
    info.database = decoded(slash < 0 ? QString() : rest.mid(slash + 1));

    QString hostPort = authority;
    if (const qsizetype at = authority.lastIndexOf(QLatin1Char('@')); at >= 0) {
        const QString userInfo = authority.left(at);
        hostPort = authority.mid(at + 1);
        const qsizetype colon = userInfo.indexOf(QLatin1Char(':'));
        info.user = decoded(colon < 0 ? userInfo : userInfo.left(colon));
        if (colon >= 0) info.password = decoded(userInfo.mid(colon + 1));
    }
    QString portText;
    if (const qsizetype colon = hostPort.lastIndexOf(QLatin1Char(':')); colon >= 0) {
        portText = hostPort.mid(colon + 1);
        hostPort.truncate(colon);
    }
    info.host = decoded(hostPort);

    for (const QString& pair : query.split(QLatin1Char('&'), Qt::SkipEmptyParts)) {
        const qsizetype eq = pair.indexOf(QLatin1Char('='));
        const QString key = eq < 0 ? pair : pair.left(eq);
        const QString value = eq < 0 ? QString() : decoded(pair.mid(eq + 1));
        if (key == QLatin1String("host"))
            info.host = value;
        else if (key == QLatin1String("port"))
            portText = value;
        else if (key == QLatin1String("user"))
            info.user = value;
        else if (key == QLatin1String("password"))
            info.password = value;
        else if (key == QLatin1String("dbname"))
            info.database = value;
        else
            throw DbError(DbErrorKind::Other,
                          text::badConnectionString(text, QStringLiteral("未知参数 ") + key));
    }
    if (!portText.isEmpty()) {
        bool ok = false;
        info.port = portText.toInt(&ok);
        if (!ok || info.port <= 0 || info.port > 65535)
            throw DbError(DbErrorKind::Other,
                          text::badConnectionString(text, QStringLiteral("端口 ") + portText));
    }
    if (info.database.isEmpty())
        throw DbError(DbErrorKind::Other,
                      text::badConnectionString(text, QStringLiteral("缺少数据库名")));
    return info;
}

}  // namespace

ConnectionInfo parseConnectionString(const QString& text)
{
    const QString t = text.trimmed();
    for (const QLatin1String scheme : {QLatin1String("postgresql://"), QLatin1String("postgres://")}) {
        if (t.startsWith(scheme, Qt::CaseInsensitive)) return parsePostgres(t, scheme.size());
    }
    ConnectionInfo info;
    info.backend = Backend::Sqlite;
    info.path = t.startsWith(QLatin1String("sqlite:"), Qt::CaseInsensitive) ? t.mid(7) : t;
    if (info.path.isEmpty())
        throw DbError(DbErrorKind::Other,
                      text::badConnectionString(text, QStringLiteral("缺少文件名")));
    return info;
}

}  // namespace qx
