// The cycle check over stored lines, and the integrity report, on SQLite and PostgreSQL.

#include "data/common.h"
#include "data/schema.h"
#include "data/verify.h"
#include "platform/database.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <QHash>
#include <QSet>

#include <random>

using namespace qx;
using qx::test::BackendTest;
using qx::test::CompanyTest;

namespace {

class Structures {
public:
    explicit Structures(Database& db) : db_(db) {}

    // Stores parent -> child, creating the parent's header when it has none yet.
    Structures& line(const QString& parent, const QString& child)
    {
        if (!headers_.contains(parent)) {
            db_.execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                        {parent, QStringLiteral("0101")});
            headers_.insert(parent);
        }
        db_.execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) values(?,?,?)"),
                    {parent, child, 1.0});
        return *this;
    }
    Structures& chain(const QStringList& codes)
    {
        for (qsizetype i = 0; i + 1 < codes.size(); ++i) line(codes[i], codes[i + 1]);
        return *this;
    }

private:
    Database& db_;
    QSet<QString> headers_;
};

}  // namespace

class CheckCycleTest : public CompanyTest {};

// A chain A -> B -> C, a diamond with a shortcut TOP -> L, R -> BOT and TOP -> BOT, codes that
// differ in case only, and codes holding quotes: the answer for each parent and child.
TEST_P(CheckCycleTest, AllowsWhatIsNotAnAncestorOfTheParent)
{
    Structures(*db).chain({"A", "B", "C"});
    Structures(*db).line("TOP", "L").line("TOP", "R").line("L", "BOT").line("R", "BOT").line("TOP", "BOT");
    Structures(*db).line("a", "B2").line("B2", "c");
    Structures(*db).line("O'NE", "T'WO").line("T'WO", "' or '1'='1");
    const struct {
        const char *parent, *child;
        bool allowed;
    } cases[] = {
        {"A", "X", true},   // nobody's child: the first generation is empty
        {"A", "A", true},   // left to the callers when the parent has no ancestors
        {"C", "A", false},  // A is the grandparent of C
        {"C", "B", false},
        {"B", "C", true},  // C is below B, not above
        {"B", "D", true},
        {"X", "A", true},  // an unknown parent
        {"BOT", "TOP", false},
        {"BOT", "L", false},
        {"BOT", "NEW", true},
        {"L", "R", true},
        {"TOP", "BOT", true},
        {"B2", "A", true},
        {"B2", "a", false},
        {"C", "a", true},
        {"c", "a", false},
        {"b2", "a", true},
        {"' or '1'='1", "O'NE", false},
        {"' or '1'='1", "ONE", true},
        {"x' or cpscode<>'", "O'NE", true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(CheckCycle(c.parent, c.child, *db), c.allowed) << c.parent << " / " << c.child;

    const Ancestors up = CollectAncestors("BOT", *db);
    EXPECT_FALSE(up.loop);
    EXPECT_EQ(up.codes, (QSet<QString>{"L", "R", "TOP"}));
    EXPECT_FALSE(up.allows("TOP"));
    EXPECT_TRUE(up.allows("NEW"));
}

TEST_P(CheckCycleTest, StoredLoopsAreCyclesWhetherOrNotThePairIsOnThem)
{
    Structures s(*db);
    // A loop through the parent: it is its own ancestor.
    s.line("X", "Y").line("Y", "X");
    EXPECT_FALSE(CheckCycle("X", "NEW", *db));
    // A loop above the parent through neither code: the walk would never end.
    s.line("L1", "L2").line("L2", "L3").line("L3", "L1").line("L2", "M").line("M", "P");
    EXPECT_FALSE(CheckCycle("P", "NEW", *db));
    EXPECT_FALSE(CheckCycle("M", "Q", *db));
    EXPECT_TRUE(CollectAncestors("P", *db).loop);
    EXPECT_FALSE(CollectAncestors("P", *db).allows("NEW"));
    // A loop elsewhere, not above the parent, changes nothing.
    s.line("K", "P2");
    EXPECT_TRUE(CheckCycle("P2", "NEW", *db));
    EXPECT_FALSE(CheckCycle("L1", "P2", *db));  // L1 is its own ancestor
    EXPECT_FALSE(CollectAncestors("P2", *db).loop);
    // A line holding its own parent.
    s.line("SELF", "SELF");
    EXPECT_FALSE(CheckCycle("SELF", "Z", *db));
}

// Each check sees what another workstation stored since the last one, and leaves no read of
// its own open: the second workstation can write meanwhile, this one can begin a transaction.
TEST_P(CheckCycleTest, EveryCheckSeesWhatAnotherWorkstationStoredSinceTheLast)
{
    auto other = Database::open(connection);
    Structures(*db).chain({"TOP", "MID", "LOW"});
    Structures theirs(*other);
    const struct {
        const char *parent, *child;  // the line the other workstation stores first
        const char *askParent, *askChild;
        bool allowedBefore, allowedAfter;
    } cases[] = {
        {"LOW", "LEAF", "LOW", "LEAF", true, true},    // below LOW: changes nothing above it
        {"OUT", "TOP", "LOW", "OUT", true, false},     // now an ancestor of LOW
        {"UP", "OUT", "MID", "UP", true, false},       // two generations above TOP
        {"LOW", "RING", "MID", "X", true, true},       // below MID
        {"RING", "TOP", "MID", "X", true, false},      // TOP -> MID -> LOW -> RING -> TOP: a loop
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CheckCycle(c.askParent, c.askChild, *db), c.allowedBefore) << c.parent << "->" << c.child;
        theirs.line(c.parent, c.child);
        EXPECT_EQ(CheckCycle(c.askParent, c.askChild, *db), c.allowedAfter) << c.parent << "->" << c.child;
        Transaction tx(*db);  // no read of the check still open
        EXPECT_EQ(CollectAncestors(c.askParent, *db).allows(c.askChild), c.allowedAfter);
        tx.rollback();
    }
}

TEST_P(CheckCycleTest, WideGenerationsAreAskedInPiecesWithoutLosingACode)
{
    // 1200 parents of one part: three statements for that generation; only the 1100th has a
    // parent of its own.
    Transaction t(*db);
    Structures s(*db);
    for (int i = 0; i < 1200; ++i) s.line(QStringLiteral("W%1").arg(i, 4, 10, QLatin1Char('0')), "PART");
    s.line("G", "W1100");
    t.commit();
    EXPECT_FALSE(CheckCycle("PART", "G", *db));
    EXPECT_FALSE(CheckCycle("PART", "W0000", *db));
    EXPECT_FALSE(CheckCycle("PART", "W1199", *db));
    EXPECT_TRUE(CheckCycle("PART", "H", *db));
    EXPECT_EQ(CollectAncestors("PART", *db).codes.size(), 1201);
}

TEST_P(CheckCycleTest, DeepDiamondLatticeIsAnsweredWithoutBlowingUp)
{
    // 24 levels of two codes, each of both the parent of both below: 2^24 routes to the bottom.
    Transaction t(*db);
    Structures s(*db);
    for (int level = 0; level < 24; ++level)
        for (const char* a : {"a", "b"})
            for (const char* b : {"a", "b"})
                s.line(QStringLiteral("D%1%2").arg(level).arg(a), QStringLiteral("D%1%2").arg(level + 1).arg(b));
    t.commit();
    EXPECT_FALSE(CheckCycle("D24a", "D0b", *db));
    EXPECT_TRUE(CheckCycle("D24a", "OTHER", *db));
    EXPECT_TRUE(CheckCycle("D0a", "D24b", *db));
    const Ancestors up = CollectAncestors("D24b", *db);
    EXPECT_FALSE(up.loop);
    EXPECT_EQ(up.codes.size(), 48);
    // A loop closed at the very top is found from the very bottom.
    s.line("D0a", "TOPLOOP").line("TOPLOOP", "D0a");
    EXPECT_FALSE(CheckCycle("D24a", "OTHER", *db));
}

TEST_P(CheckCycleTest, StructuresDeeperThanOneWalkGoesAreAnsweredExactly)
{
    // A chain of 80 levels without a loop: deeper than the one-statement walk goes.
    Transaction t(*db);
    QStringList chain;
    for (int i = 0; i <= 80; ++i) chain << QStringLiteral("C%1").arg(i);
    Structures s(*db);
    s.chain(chain);
    t.commit();
    const struct {
        const char* parent;
        const char* child;
        bool allowed;
    } cases[] = {{"C80", "NEW", true}, {"C80", "C0", false}, {"C80", "C79", false}, {"C40", "C80", true}};
    for (const auto& c : cases)
        EXPECT_EQ(CheckCycle(c.parent, c.child, *db), c.allowed) << c.parent << " <- " << c.child;
    const Ancestors up = CollectAncestors("C80", *db);
    EXPECT_FALSE(up.loop);
    EXPECT_EQ(up.codes.size(), 80);
    // The same chain closed into a loop at its top.
    s.line("C79", "C0");
    EXPECT_FALSE(CheckCycle("C80", "NEW", *db));
}

// The answer on random stored data equals the one of a plain search over all lines: a cycle
// exactly when the child or the parent is among the parent's ancestors, or a loop lies among them.
TEST_P(CheckCycleTest, AgreesWithAPlainSearchOnRandomStructures)
{
    std::mt19937 random(20240318);
    for (int round = 0; round < 12; ++round) {
        db = test::openFreshCompany(backend());
        QHash<QString, QStringList> parentsOf;
        QSet<QString> headers;
        Transaction t(*db);
        Structures s(*db);
        const int codes = 14;
        auto code = [](int i) { return QStringLiteral("K%1").arg(i); };
        QSet<QPair<int, int>> used;
        for (int e = 0; e < 22; ++e) {
            int p = random() % codes;
            int c = random() % codes;
            // Mostly downwards (a DAG), now and then against the grain (a stored loop).
            if (p > c && random() % 6 != 0) std::swap(p, c);
            if (p == c || used.contains({p, c})) continue;
            used.insert({p, c});
            s.line(code(p), code(c));
            parentsOf[code(c)] << code(p);
        }
        t.commit();
        for (int p = 0; p < codes; ++p) {
            // Ancestors by a plain search; loop when one of them reaches itself.
            QSet<QString> anc;
            QStringList todo = parentsOf.value(code(p));
            while (!todo.isEmpty()) {
                const QString x = todo.takeLast();
                if (anc.contains(x)) continue;
                anc.insert(x);
                todo << parentsOf.value(x);
            }
            bool loop = false;
            for (const QString& a : anc) {
                QSet<QString> seen;
                QStringList stack = parentsOf.value(a);
                while (!stack.isEmpty() && !loop) {
                    const QString x = stack.takeLast();
                    if (x == a) loop = true;
                    if (seen.contains(x)) continue;
                    seen.insert(x);
                    stack << parentsOf.value(x);
                }
            }
            for (int c = 0; c < codes; ++c) {
                const bool expected = !loop && !anc.contains(code(c)) && !anc.contains(code(p));
                ASSERT_EQ(CheckCycle(code(p), code(c), *db), expected)
                    << "round " << round << " parent " << p << " child " << c;
                ASSERT_EQ(CollectAncestors(code(p), *db).allows(code(c)), expected);
            }
        }
    }
}

class VerifyTest : public BackendTest {};

TEST_P(VerifyTest, DamagedCompanyReportsEveryFindingOnce)
{
    auto db = test::openFreshDatabase(backend());
    schema::createDemoCompany(*db);
    const QString header = QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)");
    const QString line = QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) values(?,?,?)");
    // Items that other modules removed from the master, or never had.
    db->execute(line, {QStringLiteral("0101"), QStringLiteral("9999"), 1.0});
    db->execute(QStringLiteral("delete from Inventory where cInvCode=?"), {QStringLiteral("0206")});
    // Stored loops: front wheel -> rim -> aluminium -> front wheel, front wheel <-> tyre, and a
    // line holding its own parent.
    db->execute(header, {QStringLiteral("0407"), QStringLiteral("0101")});
    db->execute(line, {QStringLiteral("0407"), QStringLiteral("0202"), 1.0});
    db->execute(line, {QStringLiteral("0303"), QStringLiteral("0202"), 1.0});
    db->execute(header, {QStringLiteral("0410"), QStringLiteral("0101")});
    db->execute(line, {QStringLiteral("0410"), QStringLiteral("0410"), 1.0});
    // A structure without lines.
    db->execute(header, {QStringLiteral("0104"), QStringLiteral("0102")});
    // A line whose header is gone, written past the foreign key.
    if (db->backend() == Backend::Sqlite) {
        db->execute(QStringLiteral("PRAGMA foreign_keys=OFF"));
        db->execute(line, {QStringLiteral("0105"), QStringLiteral("0309"), 1.0});
        db->execute(QStringLiteral("PRAGMA foreign_keys=ON"));
    } else {
        db->execute(QStringLiteral("SET session_replication_role = replica"));
        db->execute(line, {QStringLiteral("0105"), QStringLiteral("0309"), 1.0});
        db->execute(QStringLiteral("SET session_replication_role = DEFAULT"));
    }

    const VerifyReport report = verifyStructures(*db);
    EXPECT_FALSE(report.clean);
    EXPECT_EQ(report.lines, (QStringList{
                                QStringLiteral("产品结构出现循环调用：0202 → 0303 → 0202（相互调用的产品共 4 个）"),
                                QStringLiteral("产品结构出现循环调用：0410 → 0410"),
                                QStringLiteral("子项存货不存在：父项 0101 子项 9999"),
                                QStringLiteral("子项存货不存在：父项 0103 子项 0206"),
                                QStringLiteral("子项没有父项结构：父项 0105 子项 0309"),
                                QStringLiteral("父项存货不存在：父项 0206 子项 0315"),
                                QStringLiteral("父项存货不存在：父项 0206 子项 0404"),
                                QStringLiteral("父项存货不存在：父项 0206 子项 0409"),
                                QStringLiteral("产品结构没有子项：0104"),
                            }))
        << report.lines.join(QLatin1Char('\n')).toStdString();

    // The same loops make the cycle check refuse every placement below them.
    EXPECT_FALSE(CheckCycle(QStringLiteral("0407"), QStringLiteral("0411"), *db));
    EXPECT_FALSE(CheckCycle(QStringLiteral("0402"), QStringLiteral("0411"), *db));
    EXPECT_TRUE(CheckCycle(QStringLiteral("0408"), QStringLiteral("0411"), *db));
}

QX_INSTANTIATE_BACKENDS(CheckCycleTest);
QX_INSTANTIATE_BACKENDS(VerifyTest);
