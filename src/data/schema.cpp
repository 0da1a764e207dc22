#include "data/schema.h"

#include "platform/database.h"
#include "platform/lock_service.h"
#include "platform/sql_dialect.h"

namespace qx::schema {

namespace {

// Lines by child, holding the parent too: the upward walks (the cycle check, where-used) find a
// line's parent in the index alone.
const QString kUpwardIndex = QStringLiteral(
    "create index if not exists ix_productstructures_up on ProductStructures(cPSCode, cPSPCode)");

// Column pieces in the dialect's words, so that a width is enforced on both backends.
struct Columns {
    const SqlDialect& d;

    QString text(const QString& column, int width) const { return d.textColumn(column, width); }
    QString code(const QString& column) const { return text(column, kCodeWidth); }
    QString name(const QString& column) const { return text(column, kNameWidth); }
    QString number(const QString& column) const { return column + QLatin1Char(' ') + d.doubleType(); }
    // Booleans are small integers 0/1, so that "bService=0" and "bDepEnd=1" run unchanged.
    QString flag(const QString& column) const
    {
        return column + QLatin1Char(' ') + d.integerType() + QStringLiteral(" default 0");
    }
};

QString createTable(const QString& table, const QStringList& columns)
{
    return QStringLiteral("create table if not exists ") + table + QStringLiteral(" (") +
           columns.join(QStringLiteral(", ")) + QStringLiteral(")");
}

}  // namespace

void createCompany(Database& db, bool withWasteRate)
{
    const Columns c{db.dialect()};
    const QString key = QStringLiteral(" not null primary key");

    // Master data of other modules, read by the component only.
    db.execute(createTable(QStringLiteral("Inventory"),
                           {c.code(QStringLiteral("cInvCode")) + key, c.name(QStringLiteral("cInvName")),
                            c.name(QStringLiteral("cInvStd")), c.text(QStringLiteral("cInvM_Unit"), 20),
                            c.text(QStringLiteral("cInvA_Unit"), 20), c.number(QStringLiteral("iInvExchRate")),
                            c.number(QStringLiteral("iInvRCost")), c.flag(QStringLiteral("bFree1")),
                            c.flag(QStringLiteral("bFree2")), c.flag(QStringLiteral("bService"))}));
    db.execute(createTable(QStringLiteral("department"),
                           {c.code(QStringLiteral("cDepCode")) + key, c.name(QStringLiteral("cDepName")),
                            c.text(QStringLiteral("cDepPerson"), 20), c.flag(QStringLiteral("bDepEnd"))}));
    // The person master may hold longer names than a line's storekeeper column takes: the
    // card cuts them to 10 bytes when it saves.
    db.execute(createTable(QStringLiteral("person"),
                           {c.code(QStringLiteral("cPersonCode")) + key,
                            c.text(QStringLiteral("cPersonName"), 20), c.code(QStringLiteral("cDepCode"))}));
    db.execute(createTable(QStringLiteral("warehouse"),
                           {c.code(QStringLiteral("cWhCode")) + key, c.name(QStringLiteral("cWhName")),
                            c.text(QStringLiteral("cWhValueStyle"), 20), c.code(QStringLiteral("cDepCode"))}));
    db.execute(createTable(QStringLiteral("CA_PreDf"),
                           {c.code(QStringLiteral("cProcedureID")) + key,
                            c.name(QStringLiteral("cProcedureName")), c.code(QStringLiteral("cDeptId"))}));
    db.execute(createTable(QStringLiteral("userdefine"),
                           {c.code(QStringLiteral("cid")), c.text(QStringLiteral("cAlias"), kFreeWidth),
                            c.name(QStringLiteral("cValue"))}));
    db.execute(createTable(QStringLiteral("accinformation"),
                           {c.code(QStringLiteral("cSysID")), c.code(QStringLiteral("cID")),
                            c.name(QStringLiteral("cName")), c.name(QStringLiteral("cValue"))}));
    db.execute(createTable(QStringLiteral("UserDefItem"),
                           {c.code(QStringLiteral("cID")) + key, c.name(QStringLiteral("cName"))}));

    // The component's own tables. Lines are not tied to Inventory by a key: the item master
    // belongs to another module, and lines left behind by it are what verify reports.
    db.execute(createTable(QStringLiteral("ProductStructure"),
                           {c.code(QStringLiteral("cPSPCode")) + key, c.code(QStringLiteral("cDepCode"))}));
    QStringList lines{
        c.code(QStringLiteral("cPSPCode")) +
            QStringLiteral(" not null references ProductStructure(cPSPCode)"),
        c.code(QStringLiteral("cPSCode")) + QStringLiteral(" not null"),
        c.number(QStringLiteral("iPSQuantity")),
        c.code(QStringLiteral("cWhCode")),
        c.code(QStringLiteral("cDepCode")),
        c.text(QStringLiteral("cPersonName"), kPersonNameWidth),
        c.name(QStringLiteral("cProcedureName")),
        c.text(QStringLiteral("cFree1"), kFreeWidth),
        c.text(QStringLiteral("cFree2"), kFreeWidth),
    };
    if (withWasteRate) lines << c.number(QStringLiteral("iWasteRate")) + QStringLiteral(" null");
    lines << QStringLiteral("primary key (cPSPCode, cPSCode)");
    db.execute(createTable(QStringLiteral("ProductStructures"), lines));
    // The primary key serves lookups by parent; the upward walk of the cycle check and the
    // "has lower levels" tests look lines up by child.
    db.execute(kUpwardIndex);
    db.execute(QStringLiteral(
        "create index if not exists ix_productstructures_cpspcode on ProductStructures(cPSPCode)"));

    // A production order of another module refers to the structure it makes, so that deleting
    // a structure in use really fails.
    db.execute(createTable(QStringLiteral("mom_order"),
                           {c.code(QStringLiteral("cMoCode")) + key,
                            c.code(QStringLiteral("cPSPCode")) +
                                QStringLiteral(" not null references ProductStructure(cPSPCode)"),
                            c.number(QStringLiteral("iQuantity")), QStringLiteral("dDate date")}));

    LockService::ensureTable(db);
}

void upgradeWasteRate(Database& db)
{
    db.executeIgnoringErrors(QStringLiteral("alter table ProductStructures add iWasteRate float null"));
    // A company made before the upward index held the parent code too: the walk then read every
    // line it found a second time, from the table.
    db.executeIgnoringErrors(kUpwardIndex);
    db.executeIgnoringErrors(QStringLiteral("drop index if exists ix_productstructures_cpscode"));
}

void ensureMenuDef(Database& db)
{
    db.executeIgnoringErrors(
        QStringLiteral("CREATE TABLE CA_MenuDef ( cDefault varchar(255) not null, cNewMenu varchar(255) null)"));
    db.executeIgnoringErrors(QStringLiteral("CREATE UNIQUE INDEX index_menudef on ca_menudef(cdefault)"));
    db.executeIgnoringErrors(QStringLiteral("Insert into ca_menudef(cdefault) values('产品结构')"));
    db.executeIgnoringErrors(QStringLiteral("Insert into ca_menudef(cdefault) values('父项')"));
    db.executeIgnoringErrors(QStringLiteral("Insert into ca_menudef(cdefault) values('子项')"));
}

}  // namespace qx::schema
