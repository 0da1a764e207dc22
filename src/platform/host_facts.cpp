#include "platform/host_facts.h"

#include <QDir>
#include <QFile>
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

QString firstLine(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return {};
    return QString::fromLatin1(f.readLine(256)).trimmed();
}

QString hostName()
{
    char buf[HOST_NAME_MAX + 1] = {};
    if (gethostname(buf, sizeof buf - 1) == 0) return QString::fromLocal8Bit(buf);
    return {};
}

}  // namespace

QString machineIdentity()
{
    QString machine = qEnvironmentVariable("QX_MACHINE_ID");
    if (machine.isEmpty()) machine = firstLine(QStringLiteral("/etc/machine-id"));
    if (machine.isEmpty()) machine = firstLine(QStringLiteral("/var/lib/dbus/machine-id"));
    char ns[64] = {};
    const ssize_t n = ::readlink("/proc/self/ns/pid", ns, sizeof ns - 1);
    const QString pidNamespace = n > 0 ? QString::fromLatin1(ns, int(n)) : QString();
    const QString id = machine + QLatin1Char('/') + hostName() + QLatin1Char('/') + pidNamespace;
    return id.left(120);
}

QString bootIdentity()
{
    return firstLine(QStringLiteral("/proc/sys/kernel/random/boot_id"));
}

long long processStartTime(long long pid)
{
    if (pid <= 0) return 0;
    QFile f(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!f.open(QIODevice::ReadOnly)) return 0;
    const QByteArray stat = f.readAll();
    // The command name (field 2) may hold blanks and brackets: count from its closing bracket.
    const int close = stat.lastIndexOf(')');
    if (close < 0) return 0;
    const QList<QByteArray> fields = stat.mid(close + 2).split(' ');
    // Field 22 (start time) is the 20th after the name.
    return fields.size() > 19 ? fields[19].toLongLong() : 0;
}

QString computerName()
{
    QString name = qEnvironmentVariable("QX_COMPUTER_NAME");
    if (name.isEmpty()) name = hostName();
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
