#pragma once

// The save of a card: the whole-structure checks in their fixed order, then the write of a new
// structure (SaveRecord) or of an edited one, each in one transaction.

#include "card/card_lookups.h"

#include <QString>

#include <memory>
#include <vector>

namespace qx {

class DbError;
class LineGrid;
class Recordset;
class RecordLocks;
struct Ancestors;

struct SaveRequest {
    QString parentCode;  // EdtcPSPCode
    QString department;  // EdtcDepCode (a name once accepted)
    bool adding = true;
    Recordset* headerRows = nullptr;  // ProductStructure
    Recordset* lineRows = nullptr;    // ProductStructures
    // Edit mode: the structure's lock, asked for again under its key (the trimmed parent code)
    // so that the write lands only while this workstation holds it (null: not asked).
    RecordLocks* lock = nullptr;
    // The parent's ancestors when the caller has judged all structures at once (an import):
    // the checks then ask them instead of walking the stored structures again.
    const Ancestors* ancestors = nullptr;
    // Every line was judged as the card judges a line when it is left, against these same
    // lists, ancestors and lines (an import judges each row so): the save does not judge the
    // lines a second time.
    bool linesJudged = false;
};

// The checks of a save, in their order; the first failure is returned with its message. The
// cycle checks read the parent's stored ancestors once. Lines are re-judged as the second pass
// judges them, so that copied or never-validated lines are refused as when typed.
Verdict checkStructure(const CardLookups& lk, LineGrid& lines, const SaveRequest& req);

// Checks and writes in one transaction (the checks after the dialect's structure write lock, so
// that two workstations cannot together close a loop). Shows the refusal or failure message and
// returns false with nothing written, or returns true with the structure written.
bool saveStructure(const CardLookups& lk, LineGrid& lines, const SaveRequest& req);

// Writes the lines of structures inside the caller's transaction (warehouse and department
// names turned into codes, the person cut to its width, an empty waste rate as NULL). Many
// structures written in one transaction (an import) share one: its statement is prepared once
// and each name is turned into its code once.
struct LineRow;
class LineWriter {
public:
    explicit LineWriter(const CardLookups& lk);
    ~LineWriter();
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    // The given lines of the grid, in the order given.
    void insert(const LineGrid& lines, const QString& parent, const std::vector<int>& which);
    // Every line of the grid, in grid order.
    void insertAll(const LineGrid& lines, const QString& parent);
    // Line i of the grid as it is written (names as codes, each name turned into its code once).
    LineRow row(const LineGrid& lines, int i);

private:
    struct Impl;
    CardLookups lk_;
    std::unique_ptr<Impl> d;
};

// The one write of a structure, for the card (new, copied, edited) and the import, inside the
// caller's transaction: a new header (through `headerRows` when given, so that the recordset
// knows it), or the edited one's department (a header gone meanwhile is RecordDeleted); in edit
// mode every stored line of the parent goes; then the lines, in grid order.
struct StructureWrite {
    QString parent;
    QString department;  // a name, as the card shows it
    bool adding = true;
    Recordset* headerRows = nullptr;
    bool setDepartment = true;  // edit mode: false leaves the stored department
    LineWriter* writer = nullptr;  // shared by many writes in one transaction (null: one of its own)
};
void writeStructure(const CardLookups& lk, const LineGrid& lines, const StructureWrite& w);

// The lines of a structure written as the save writes them (warehouse and department names
// turned into codes, the person cut to its width, an empty waste rate as NULL), in grid order.
void writeStructureLines(const CardLookups& lk, const LineGrid& lines, const QString& parent);

// The card's message for a write that failed: a structure another workstation added meanwhile,
// one deleted meanwhile, a text too long, a structure in use (editWriting: while its lines were
// rewritten), ...
QString saveFailureMessage(const DbError& e, bool editWriting);

// Would the structure's header or lines be refused deletion (other data refer to them)? A trial
// deletion that is always rolled back. A lost connection is thrown, not answered.
bool structureInUse(const QString& parentCode, Database& db);

}  // namespace qx
