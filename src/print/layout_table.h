#pragma once

#include <QDate>
#include <QString>
#include <QTime>

#include <stdexcept>
#include <vector>

namespace qx {
class Database;
}

namespace qx::print {

// One row of the layout table: a frame (iType 2) or a text (iType 0) at its place in twips.
struct LayoutRow {
    int iType = 0;
    int iX = 0;
    int iY = 0;
    int iW = 0;
    int iH = 0;
    QString cFontName;
    int iFontSize = 0;
    QString cText;
    int iSection = 0;
    int iAlignment = 0;
    QString cFontAttr;

    bool operator==(const LayoutRow&) const = default;
};

// The values the page head shows.
struct PrintHead {
    QString title;           // the report title (the structure caption word)
    QString parentCode;
    QString parentName;
    QString specification;   // cInvStd
    QString departmentCode;
    int year = 0;
    QDate date;              // the print date
};

// The ten head rows in their order: the two frames, the title, the four captions with their
// values, the year, the print date and the brand line.
std::vector<LayoutRow> headRows(const PrintHead& head);

// "TempPrint_" + n + the time as HHMMSS; n is from 100 to 199.
QString layoutTableName(int n, const QTime& time);
// A new name for a print run: n drawn at random, the present time.
QString newLayoutTableName();

// A value holding "'" is refused before anything is written: the page would otherwise be
// printed from a layout other than the one the user sees.
class LayoutRefused : public std::runtime_error {
public:
    LayoutRefused() : std::runtime_error("a layout value holds a quote") {}
};

// True when no text of the rows holds "'".
bool acceptable(const std::vector<LayoutRow>& rows);

// Creates the table `name` with the eleven fields in the scratch database. Throws DbError
// when it cannot.
void createLayoutTable(Database& scratch, const QString& name);

// Writes the rows into the table, all or none (one transaction). Throws LayoutRefused when a
// value holds "'" (nothing written), DbError when the database refuses a row.
void writeLayoutRows(Database& scratch, const QString& name, const std::vector<LayoutRow>& rows);

// The rows of a layout table in the order they were written.
std::vector<LayoutRow> readLayoutTable(Database& scratch, const QString& name);

}  // namespace qx::print
