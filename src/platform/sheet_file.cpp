#include "platform/sheet_file.h"

#include "texts/texts.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStringDecoder>
#include <QXmlStreamReader>

#include <zip.h>

#include <memory>

namespace qx {

namespace {

constexpr qint64 kXmlPartLimitBytes = 512LL * 1024 * 1024;  // against a zip that inflates without end

bool isBlank(const QStringList& cells)
{
    for (const QString& c : cells)
        if (!c.isEmpty()) return false;
    return true;
}

// ---- XLSX ----

struct ZipCloser {
    void operator()(zip_t* z) const { zip_discard(z); }
};
using ZipHandle = std::unique_ptr<zip_t, ZipCloser>;

// One part of the workbook; false when absent. `error` is set when present but unreadable.
bool readPart(zip_t* z, const QString& name, QByteArray& out, QString& error)
{
    zip_stat_t st;
    zip_stat_init(&st);
    const QByteArray n = name.toUtf8();
    if (zip_stat(z, n.constData(), 0, &st) != 0) return false;
    if ((st.valid & ZIP_STAT_SIZE) && st.size > quint64(kXmlPartLimitBytes)) {
        error = text::sheetMalformed(name, 0, QStringLiteral("too large"));
        return false;
    }
    zip_file_t* f = zip_fopen(z, n.constData(), 0);
    if (!f) {
        error = text::sheetMalformed(name, 0, QString::fromUtf8(zip_strerror(z)));
        return false;
    }
    out.clear();
    char buf[65536];
    zip_int64_t got;
    while ((got = zip_fread(f, buf, sizeof buf)) > 0) {
        out.append(buf, static_cast<qsizetype>(got));
        if (out.size() > kXmlPartLimitBytes) break;
    }
    const bool failed = got < 0 || out.size() > kXmlPartLimitBytes;
    zip_fclose(f);
    if (failed) {
        error = text::sheetMalformed(name, 0, QStringLiteral("damaged"));
        return false;
    }
    return true;
}

QString xmlError(const QString& part, const QXmlStreamReader& xml)
{
    return text::sheetMalformed(part, xml.lineNumber(), xml.errorString());
}

// The text of an <si> or <is> element: every <t> inside it, rich-text runs joined.
QString stringItem(QXmlStreamReader& xml)
{
    const QString end = xml.name().toString();
    QString s;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("t"))
            s += xml.readElementText(QXmlStreamReader::IncludeChildElements);
        else if (xml.isStartElement() && (xml.name() == QLatin1String("rPh")))
            xml.skipCurrentElement();  // phonetic hints are not the cell's text
        else if (xml.isEndElement() && xml.name() == end)
            break;
    }
    return s;
}

bool readSharedStrings(const QByteArray& data, QStringList& out, QString& error)
{
    QXmlStreamReader xml(data);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("si")) out << stringItem(xml);
    }
    if (xml.hasError()) {
        error = xmlError(QStringLiteral("xl/sharedStrings.xml"), xml);
        return false;
    }
    return true;
}

// "AB12" -> column 27 (0-based); -1 when the reference has no letters.
int columnOf(QStringView ref)
{
    int col = 0;
    int letters = 0;
    for (QChar ch : ref) {
        const char16_t u = ch.toUpper().unicode();
        if (u < u'A' || u > u'Z') break;
        col = col * 26 + (u - u'A' + 1);
        if (++letters > 3) return -1;
    }
    return letters ? col - 1 : -1;
}

// The first sheet's part name: the workbook's first <sheet> through the relationships; the
// conventional name when the workbook says nothing.
QString firstSheetPart(zip_t* z, QString& error)
{
    QByteArray wb, rels;
    QString rid;
    if (readPart(z, QStringLiteral("xl/workbook.xml"), wb, error)) {
        QXmlStreamReader xml(wb);
        while (!xml.atEnd() && rid.isEmpty()) {
            xml.readNext();
            if (xml.isStartElement() && xml.name() == QLatin1String("sheet")) {
                for (const QXmlStreamAttribute& a : xml.attributes())
                    if (a.name() == QLatin1String("id")) rid = a.value().toString();
            }
        }
    }
    if (!rid.isEmpty() && readPart(z, QStringLiteral("xl/_rels/workbook.xml.rels"), rels, error)) {
        QXmlStreamReader xml(rels);
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement() && xml.name() == QLatin1String("Relationship") &&
                xml.attributes().value(QLatin1String("Id")) == rid) {
                QString target = xml.attributes().value(QLatin1String("Target")).toString();
                if (target.startsWith(QLatin1Char('/'))) return target.mid(1);
                return QStringLiteral("xl/") + target;
            }
        }
    }
    return QStringLiteral("xl/worksheets/sheet1.xml");
}

SheetFile readXlsx(const QString& path)
{
    SheetFile result;
    int err = 0;
    ZipHandle z(zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &err));
    if (!z) {
        result.error = text::kFileNotXlsx;
        return result;
    }
    QString error;
    QStringList shared;
    QByteArray data;
    if (readPart(z.get(), QStringLiteral("xl/sharedStrings.xml"), data, error))
        readSharedStrings(data, shared, error);
    if (!error.isEmpty()) {
        result.error = error;
        return result;
    }
    const QString part = firstSheetPart(z.get(), error);
    error.clear();
    if (!readPart(z.get(), part, data, error)) {
        result.error = error.isEmpty() ? text::kFileNoSheet : error;
        return result;
    }

    QXmlStreamReader xml(data);
    int lastRow = 0;
    SheetRow row;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement()) continue;
        if (xml.name() == QLatin1String("row")) {
            const int r = xml.attributes().value(QLatin1String("r")).toInt();
            row = SheetRow{r > 0 ? r : lastRow + 1, {}};
            lastRow = row.fileRow;
            int nextCol = 0;
            while (!xml.atEnd()) {
                xml.readNext();
                if (xml.isEndElement() && xml.name() == QLatin1String("row")) break;
                if (!xml.isStartElement() || xml.name() != QLatin1String("c")) continue;
                const QXmlStreamAttributes attrs = xml.attributes();
                int col = columnOf(attrs.value(QLatin1String("r")));
                if (col < 0) col = nextCol;
                nextCol = col + 1;
                const QString type = attrs.value(QLatin1String("t")).toString();
                QString value;
                while (!xml.atEnd()) {
                    xml.readNext();
                    if (xml.isEndElement() && xml.name() == QLatin1String("c")) break;
                    if (!xml.isStartElement()) continue;
                    if (xml.name() == QLatin1String("v"))
                        value = xml.readElementText();
                    else if (xml.name() == QLatin1String("is"))
                        value = stringItem(xml);
                    else
                        xml.skipCurrentElement();
                }
                if (type == QLatin1String("s")) {
                    bool okIndex = false;
                    const int i = value.toInt(&okIndex);
                    value = okIndex && i >= 0 && i < shared.size() ? shared[i] : QString();
                }
                if (col >= 16384) continue;  // beyond the last column a sheet can have
                while (row.cells.size() <= col) row.cells << QString();
                row.cells[col] = value;
            }
            if (!isBlank(row.cells)) result.rows.push_back(row);
        }
    }
    if (xml.hasError()) {
        result.rows.clear();
        result.error = xmlError(part, xml);
    }
    return result;
}

}  // namespace

// ---- CSV ----

bool decodeSheetText(const QByteArray& bytes, QString& text)
{
    QByteArray body = bytes;
    if (body.startsWith("\xEF\xBB\xBF")) body.remove(0, 3);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    text = utf8.decode(body);
    if (!utf8.hasError()) return true;
    QStringDecoder gb(QStringLiteral("GB18030").toLatin1().constData());
    if (!gb.isValid()) return false;
    text = gb.decode(body);
    return !gb.hasError();
}

std::vector<SheetRow> parseCsv(const QString& text)
{
    // The separator the first line uses outside quotes: tab when it has more tabs than commas.
    int commas = 0, tabs = 0;
    bool quoted = false;
    for (QChar ch : text) {
        if (ch == QLatin1Char('"')) quoted = !quoted;
        else if (!quoted && (ch == QLatin1Char('\n') || ch == QLatin1Char('\r'))) break;
        else if (!quoted && ch == QLatin1Char(',')) ++commas;
        else if (!quoted && ch == QLatin1Char('\t')) ++tabs;
    }
    const QChar sep = tabs > commas ? QLatin1Char('\t') : QLatin1Char(',');

    std::vector<SheetRow> rows;
    SheetRow row{1, {}};
    QString cell;
    int line = 1;
    quoted = false;
    bool wasQuoted = false;
    const auto endCell = [&] {
        row.cells << cell;
        cell.clear();
        wasQuoted = false;
    };
    const auto endRow = [&] {
        endCell();
        if (!isBlank(row.cells)) rows.push_back(row);
        row = SheetRow{line, {}};
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar ch = text[i];
        if (quoted) {
            if (ch == QLatin1Char('"')) {
                if (i + 1 < text.size() && text[i + 1] == QLatin1Char('"')) {
                    cell += ch;
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                if (ch == QLatin1Char('\n')) ++line;
                cell += ch;
            }
            continue;
        }
        if (ch == QLatin1Char('"') && cell.isEmpty() && !wasQuoted) {
            quoted = wasQuoted = true;
        } else if (ch == sep) {
            endCell();
        } else if (ch == QLatin1Char('\r') || ch == QLatin1Char('\n')) {
            if (ch == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n'))
                ++i;
            ++line;
            endRow();
        } else {
            cell += ch;
        }
    }
    if (!cell.isEmpty() || !row.cells.isEmpty()) endRow();
    return rows;
}

SheetFile readSheetFile(const QString& path)
{
    SheetFile result;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = text::fileUnreadable(path);
        return result;
    }
    if (file.size() > kSheetFileLimitBytes) {
        result.error = text::fileTooLarge(path, kSheetFileLimitBytes / (1024 * 1024));
        return result;
    }
    if (file.size() == 0) {
        result.error = text::kFileEmpty;
        return result;
    }
    const QByteArray head = file.peek(4);
    const bool zipped = head.startsWith("PK\x03\x04");
    if (zipped || path.endsWith(QLatin1String(".xlsx"), Qt::CaseInsensitive)) {
        file.close();
        return readXlsx(path);
    }
    QString text;
    if (!decodeSheetText(file.readAll(), text)) {
        result.error = text::kFileBadEncoding;
        return result;
    }
    result.rows = parseCsv(text);
    if (result.rows.empty()) result.error = text::kFileEmpty;
    return result;
}

}  // namespace qx
