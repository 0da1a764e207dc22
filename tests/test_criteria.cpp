#include "platform/criteria.h"
#include "platform/db_error.h"

#include <gtest/gtest.h>

using namespace qx;

namespace {

QString terms(const Criteria& c)
{
    QStringList out;
    for (const auto& t : c.terms()) out << t.field + QLatin1Char('=') + t.value.toString();
    return out.join(QLatin1Char(';'));
}

TEST(Criteria, ReadsTheFormsTheComponentWrites)
{
    EXPECT_EQ(terms(Criteria::parse(QStringLiteral("cPSPCode='X1'"))), QStringLiteral("cPSPCode=X1"));
    EXPECT_EQ(terms(Criteria::parse(QStringLiteral("[cInvcode]='01'"))), QStringLiteral("cInvcode=01"));
    EXPECT_EQ(terms(Criteria::parse(QStringLiteral("  cPSPCode= 'X' "))), QStringLiteral("cPSPCode=X"));
    EXPECT_EQ(terms(Criteria::parse(QStringLiteral("cpspCode='A' and cpscode='B'"))),
              QStringLiteral("cpspCode=A;cpscode=B"));
    EXPECT_EQ(terms(Criteria::parse(QStringLiteral("a = '1'AND [b] ='2'  and c='3'"))),
              QStringLiteral("a=1;b=2;c=3"));
    // Blanks inside the quotes belong to the value; an empty value is a value.
    EXPECT_EQ(terms(Criteria::parse(QStringLiteral("cName=' 螺丝 '"))), QStringLiteral("cName= 螺丝 "));
    EXPECT_EQ(terms(Criteria::parse(QStringLiteral("cName=''"))), QStringLiteral("cName="));
    const auto n = Criteria::parse(QStringLiteral("iSeq=3"));
    EXPECT_EQ(n.terms().front().value.toDouble(), 3.0);
}

TEST(Criteria, QuotesInsideValuesAreData)
{
    EXPECT_EQ(Criteria::parse(QStringLiteral("c='a''b'")).terms().front().value.toString(),
              QStringLiteral("a'b"));
    EXPECT_EQ(Criteria::parse(QStringLiteral("c=''''")).terms().front().value.toString(),
              QStringLiteral("'"));
    // Syntax inside a value stays in the value.
    const auto c = Criteria::parse(QStringLiteral("c='x'' and d=''y' and e='|'"));
    ASSERT_EQ(c.terms().size(), 2u);
    EXPECT_EQ(c.terms()[0].value.toString(), QStringLiteral("x' and d='y"));
    EXPECT_EQ(c.terms()[1].value.toString(), QStringLiteral("|"));
}

TEST(Criteria, MalformedTextIsRefusedWithItsText)
{
    for (const char* bad : {"", "   ", "c='a'b'", "c='a", "c=a", "c='1' or d='2'", "c='1' andd='2'",
                            "c='1' and", "[c='1'", "c=='1'", "='1'", "c'1'", "c='1' d='2'",
                            "c='1';drop table x", "c=1x"}) {
        try {
            Criteria::parse(QString::fromLatin1(bad));
            ADD_FAILURE() << "accepted: " << bad;
        } catch (const DbError& e) {
            EXPECT_EQ(e.kind(), DbErrorKind::Other);
            EXPECT_EQ(e.description(), QStringLiteral("查找条件不正确：") + QString::fromLatin1(bad));
        }
    }
}

}  // namespace
