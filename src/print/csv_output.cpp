#include "print/csv_output.h"

#include <QSaveFile>

namespace qx::print {

namespace {
QString csvField(const QString& f)
{
    if (!f.contains(QLatin1Char(',')) && !f.contains(QLatin1Char('"')) &&
        !f.contains(QLatin1Char('\n')) && !f.contains(QLatin1Char('\r')))
        return f;
    QString q = f;
    q.replace(QLatin1String("\""), QLatin1String("\"\""));
    return QLatin1Char('"') + q + QLatin1Char('"');
}
}  // namespace

QByteArray csvRecord(const QStringList& fields)
{
    QStringList quoted;
    for (const QString& f : fields) quoted << csvField(f);
    return quoted.join(QLatin1Char(',')).toUtf8() + "\r\n";
}

bool writeCsv(const QString& path, const PrintJob& job, QString* error)
{
    QByteArray out("\xEF\xBB\xBF");
    for (const LayoutRow& r : job.layout)
        if (r.iType == 0) out += csvRecord({r.cText});
    out += "\r\n";
    QStringList captions;
    for (const auto& c : job.columns) captions << c.caption;
    out += csvRecord(captions);
    for (const QStringList& line : job.lines) out += csvRecord(line);

    // Written whole or not at all: a failed write never leaves half a file behind.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(out) != out.size() || !file.commit()) {
        if (error) *error = file.errorString();
        return false;
    }
    return true;
}

}  // namespace qx::print
