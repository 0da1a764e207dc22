// The recordset under the list's load: 200,000 lines of 20,000 parents fetched through
// openRecordset against a bare QSqlQuery loop over the same rows (the floor), then the child
// grid's refill (setFilter on one parent) against a plain scan of every row.

#include "platform/database.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <cstdio>

using namespace qx;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.db"));
    const int parents = 20000, perParent = 10;
    {
        auto db = Database::open(path);
        db->execute(QStringLiteral("CREATE TABLE lines (id integer PRIMARY KEY, cPSPCode varchar(20), "
                                   "cPSCode varchar(20), iQuantity double precision, cWhCode varchar(20), "
                                   "cNote varchar(60))"));
        db->beginTrans();
        for (int p = 0; p < parents; ++p)
            for (int l = 0; l < perParent; ++l)
                db->execute(QStringLiteral("INSERT INTO lines VALUES (?, ?, ?, ?, ?, ?)"),
                            {p * perParent + l, QStringLiteral("P%1").arg(p, 6, 10, QLatin1Char('0')),
                             QStringLiteral("C%1").arg((p + l) % 50000), 1.5 * l, QStringLiteral("01"),
                             QStringLiteral("说明")});
        db->commitTrans();
    }
    auto db = Database::open(path);
    const QString sql = QStringLiteral("SELECT * FROM lines ORDER BY id");

    QElapsedTimer t;
    t.start();
    {
        QSqlDatabase raw = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("raw"));
        raw.setDatabaseName(path);
        raw.open();
        QSqlQuery q(raw);
        q.setForwardOnly(true);
        q.exec(sql);
        long long cells = 0;
        while (q.next())
            for (int i = 0; i < 6; ++i) cells += q.value(i).isValid();
        std::printf("bare query loop: %lld cells\n", cells);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("raw"));
    const double floorMs = t.nsecsElapsed() / 1e6;

    t.restart();
    auto rs = db->openRecordset(sql, RecordsetType::Snapshot);
    const double loadMs = t.nsecsElapsed() / 1e6;
    std::printf("load %d rows: %.1f ms, bare loop %.1f ms, ratio %.2f\n", rs->recordCount(), loadMs,
                floorMs, loadMs / floorMs);

    // The first filter builds the index; the later ones use it.
    t.restart();
    rs->setFilter(Criteria::eq(QStringLiteral("cPSPCode"), QStringLiteral("P000000")));
    std::printf("first filter (builds the index): %.2f ms\n", t.nsecsElapsed() / 1e6);
    const int rounds = 2000;
    t.restart();
    int seen = 0;
    for (int i = 0; i < rounds; ++i) {
        rs->setFilter(Criteria::eq(QStringLiteral("cPSPCode"),
                                   QStringLiteral("P%1").arg((i * 7919) % parents, 6, 10, QLatin1Char('0'))));
        seen += rs->recordCount();
    }
    const double filterMs = t.nsecsElapsed() / 1e6 / rounds;
    rs->clearFilter();
    t.restart();
    const int codeField = rs->fieldIndex(QStringLiteral("cPSPCode"));
    int scanned = 0;
    for (int i = 0; i < 20; ++i) {
        const QString want = QStringLiteral("P%1").arg((i * 7919) % parents, 6, 10, QLatin1Char('0'));
        for (int r = 0; r < rs->recordCount(); ++r) scanned += rs->value(r, codeField).toString() == want;
    }
    const double scanMs = t.nsecsElapsed() / 1e6 / 20;
    std::printf("filter one parent: %.3f ms (%d lines each), plain scan %.2f ms, ratio %.4f "
                "(the child grid's budget is 16 ms)\n",
                filterMs, seen / rounds, scanMs, filterMs / scanMs);
    return scanned == 20 * perParent ? 0 : 1;
}
