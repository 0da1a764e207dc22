#include "print/layout_table.h"

#include "texts/texts.h"
#include "platform/database.h"
#include "platform/sql_dialect.h"

#include <QRandomGenerator>
#include <QRegularExpression>

namespace qx::print {

namespace {

const QString kBlank = QStringLiteral(" ");

LayoutRow frame(int x, int y, int w, int h, int fontSize, int section)
{
    return {2, x, y, w, h, kBlank, fontSize, kBlank, section, 0, kBlank};
}

LayoutRow textRow(int x, int y, int w, int h, int fontSize, const QString& text, int alignment,
                  const QString& attr)
{
    return {0, x, y, w, h, text::kPrintFont, fontSize, text, 0, alignment, attr};
}

// The table name is built here from digits only; anything else is refused rather than put
// into a statement.
void checkName(const QString& name)
{
    static const QRegularExpression kValid(QStringLiteral("^TempPrint_[0-9]{9}$"));
    if (!kValid.match(name).hasMatch())
        throw DbError(DbErrorKind::Other, QStringLiteral("bad layout table name: ") + name);
}

}  // namespace

std::vector<LayoutRow> headRows(const PrintHead& h)
{
    return {
        frame(0, 0, 9012, 2252, 12, 0),
        frame(50, 8000, 9012, 2250, 0, 1),
        textRow(3500, 500, 6000, 350, 14, h.title, 0, QStringLiteral("BU")),
        textRow(2500, 1150, 6000, 250, 10, text::kPrintParentCode + h.parentCode, 0, kBlank),
        textRow(2500, 1425, 6000, 250, 10, text::kPrintParentName + h.parentName, 0, kBlank),
        textRow(2500, 1700, 6000, 200, 10, text::kPrintSpec + h.specification, 0, kBlank),
        textRow(2500, 2000, 6000, 200, 10, text::kPrintDeptCode + h.departmentCode, 0, kBlank),
        textRow(3700, 900, 6000, 250, 10, QString::number(h.year) + text::kPrintYear, 0, kBlank),
        textRow(5900, 100, 4000, 250, 10,
                text::kPrintDate + h.date.toString(QStringLiteral("yyyy.MM.dd")), 1, kBlank),
        textRow(7100, 400, 3000, 250, 10, text::kPrintBrand, 1, kBlank),
    };
}

QString layoutTableName(int n, const QTime& time)
{
    return QStringLiteral("TempPrint_") + QString::number(n) + time.toString(QStringLiteral("HHmmss"));
}

QString newLayoutTableName()
{
    // QRandomGenerator::global() is seeded from the system once; every run draws afresh.
    const int n = QRandomGenerator::global()->bounded(100, 200);
    return layoutTableName(n, QTime::currentTime());
}

bool acceptable(const std::vector<LayoutRow>& rows)
{
    const QChar quote('\'');
    for (const LayoutRow& r : rows)
        if (r.cFontName.contains(quote) || r.cText.contains(quote) || r.cFontAttr.contains(quote))
            return false;
    return true;
}

void createLayoutTable(Database& scratch, const QString& name)
{
    checkName(name);
    const SqlDialect& d = scratch.dialect();
    const QString i = d.integerType();
    scratch.execute(QStringLiteral("CREATE TABLE ") + name + QStringLiteral(" (iType ") + i +
                    QStringLiteral(", iX ") + i + QStringLiteral(", iY ") + i +
                    QStringLiteral(", iW ") + i + QStringLiteral(", iH ") + i + QStringLiteral(", ") +
                    d.textColumn(QStringLiteral("cFontName"), 50) + QStringLiteral(", iFontSize ") + i +
                    QStringLiteral(", ") + d.textColumn(QStringLiteral("cText"), 255) +
                    QStringLiteral(", iSection ") + i + QStringLiteral(", iAlignment ") + i +
                    QStringLiteral(", ") + d.textColumn(QStringLiteral("cFontAttr"), 4) +
                    QStringLiteral(")"));
}

void writeLayoutRows(Database& scratch, const QString& name, const std::vector<LayoutRow>& rows)
{
    checkName(name);
    if (!acceptable(rows)) throw LayoutRefused();
    const QString sql = QStringLiteral(" INSERT INTO ") + name +
                        QStringLiteral(" VALUES(?,?,?,?,?,?,?,?,?,?,?)");
    Transaction t(scratch);
    for (const LayoutRow& r : rows)
        scratch.execute(sql, {r.iType, r.iX, r.iY, r.iW, r.iH, r.cFontName, r.iFontSize, r.cText,
                              r.iSection, r.iAlignment, r.cFontAttr});
    t.commit();
}

std::vector<LayoutRow> readLayoutTable(Database& scratch, const QString& name)
{
    checkName(name);
    auto rs = scratch.openRecordset(QStringLiteral("select * from ") + name +
                                        QStringLiteral(" order by rowid"),
                                    RecordsetType::Snapshot);
    std::vector<LayoutRow> rows;
    auto num = [&](const char* f) { return rs->field(QLatin1String(f)).toInt(); };
    auto str = [&](const char* f) { return rs->field(QLatin1String(f)).toString(); };
    for (rs->moveFirst(); !rs->eof(); rs->moveNext())
        rows.push_back({num("iType"), num("iX"), num("iY"), num("iW"), num("iH"), str("cFontName"),
                        num("iFontSize"), str("cText"), num("iSection"), num("iAlignment"),
                        str("cFontAttr")});
    rs->close();
    return rows;
}

}  // namespace qx::print
