#include "platform/host_facts.h"

#include <QDir>
#include <QStandardPaths>

#include <unistd.h>

#include <climits>

namespace qx {
namespace {

// The suite's name fields hold 30 bytes of a double-byte code page: a character below U+0080
// takes one byte, any other two; a character that would straddle the limit is left out whole.
QString cutToBytes(const QString& text, int limit)
{
    QString out;
    int used = 0;
    for (const char32_t c : text.toUcs4()) {
        const int width = c < 0x80 ? 1 : 2;
        if (used + width > limit) break;
        used += width;
        out += QString::fromUcs4(&c, 1);
    }
    return out;
}

}  // namespace

QString computerName()
{
    QString name = qEnvironmentVariable("QX_COMPUTER_NAME");
    if (name.isEmpty()) {
        char buf[HOST_NAME_MAX + 1] = {};
        if (gethostname(buf, sizeof buf - 1) == 0) name = QString::fromLocal8Bit(buf);
    }
    return cutToBytes(name, 30);
}

QString systemDirectory()
{
    QString dir = qEnvironmentVariable("QX_SYSTEM_DIR");
    if (dir.isEmpty()) dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (dir.isEmpty()) dir = QDir::home().filePath(QStringLiteral(".qxprostru"));
    QDir().mkpath(dir);
    return dir;
}

}  // namespace qx
