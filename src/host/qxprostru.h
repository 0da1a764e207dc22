#pragma once

// The component's public class: the host hands it an open company database and a read-only
// flag (Init), then asks it to show the list window (Show).

#include "platform/database.h"

#include <QString>

#include <functional>
#include <memory>

namespace qx {

// The three statements Init opens, spaces as they stand (two blanks where a piece ending in a
// blank met one beginning with a blank).
inline const QString kParentQuery = QStringLiteral(
    "SELECT ProductStructure.cPSPCode, Inventory.cInvName,Inventory.cInvStd, ProductStructure.cDepCode  FROM Inventory INNER JOIN ProductStructure ON Inventory.cInvCode = ProductStructure.cPSPCode");
inline const QString kChildQuery = QStringLiteral(
    "SELECT ProductStructures.cPSPcode,ProductStructures.cPSCode,  ProductStructures.cProcedureName, ProductStructures.cDepCode,  ProductStructures.cPersonName, ProductStructures.cFree1, ProductStructures.cFree2 ,Inventory.cInvName, Inventory.cInvM_Unit,Inventory.cInvStd,ProductStructures.cWhCode, ProductStructures.iPSQuantity, inventory.iInvRCost,inventory.iInvExchRate,inventory.cInvA_unit,productstructures.iWasteRate FROM Inventory INNER JOIN ProductStructures ON Inventory.cInvCode = ProductStructures.cPSCode order by productstructures.cPSCode");
inline const QString kJoinedQuery = QStringLiteral(
    "SELECT ProductStructure.*, ProductStructures.* FROM ProductStructure INNER JOIN ProductStructures ON ProductStructure.cPSPCode = ProductStructures.cPSPCode");

// Opens a query as a snapshot (read-only) or a dynaset. Any failure gives nullptr and no message:
// the caller decides what a missing recordset means. The caption names the recordset for the
// caller's own reports; the routine itself does not use it.
std::unique_ptr<Recordset> OpenRecordset(Database& db, const QString& query, bool readOnly,
                                         const QString& caption);

class QXProStru {
public:
    // What Show does: the list window registers itself here, so that the host library does not
    // depend on the window. Without a hook Show does nothing and hasShowHook() says so.
    using ShowHook = std::function<void(QXProStru&)>;
    static void setShowHook(ShowHook hook);
    static bool hasShowHook();

    QXProStru();
    ~QXProStru();
    QXProStru(const QXProStru&) = delete;
    QXProStru& operator=(const QXProStru&) = delete;

    // The host's database; the host owns it and keeps it open while this object lives.
    Database* db() const { return db_; }
    void setDb(Database* db) { db_ = db; }

    // Kept for the host; the component itself never reads it.
    Recordset* Record() const { return record_; }
    void setRecord(Recordset* record) { record_ = record; }

    bool ReadOnly() const { return readOnly_; }
    void setReadOnly(bool readOnly) { readOnly_ = readOnly; }
    // Read-only because the company cannot be written: the list window says so in its title.
    bool Unwritable() const { return unwritable_; }
    void setUnwritable(bool unwritable) { unwritable_ = unwritable; }

    // Stores the database, upgrades ProductStructures (errors ignored; not when read-only, which
    // writes nothing), keeps the flag and opens
    // the parent, child and joined recordsets (snapshots when read-only, dynasets otherwise).
    // True only when all three opened; no message either way.
    bool Init(Database& dbase, bool blnread);

    // Shows the list window modally through the hook; returns when it has closed.
    void Show();

    // The recordsets Init opened (null when not opened), read by the list window.
    Recordset* parentRecords() const { return parent_.get(); }
    Recordset* childRecords() const { return child_.get(); }
    Recordset* joinedRecords() const { return joined_.get(); }

private:
    Database* db_ = nullptr;
    Recordset* record_ = nullptr;
    bool readOnly_ = false;
    bool unwritable_ = false;
    std::unique_ptr<Recordset> parent_;
    std::unique_ptr<Recordset> child_;
    std::unique_ptr<Recordset> joined_;
};

}  // namespace qx
