// Free-item names from the company's UserDefItem rows, with the built-in names where the company
// configured nothing.

#include "platform/database.h"
#include "platform/own_def.h"
#include "support/company.h"

#include <gtest/gtest.h>

using namespace qx;

namespace {

QString q(const char* s)
{
    return QString::fromUtf8(s);
}

class OwnDefTest : public qx::test::BackendTest {};

}  // namespace

TEST_P(OwnDefTest, NamedItemsGiveTheirNames)
{
    auto db = qx::test::openFreshCompany(backend());
    db->execute(QStringLiteral("INSERT INTO UserDefItem (cID, cName) VALUES (?, ?)"),
                {QStringLiteral("20"), q("颜色")});
    db->execute(QStringLiteral("INSERT INTO UserDefItem (cID, cName) VALUES (?, ?)"),
                {QStringLiteral("21"), q("等'级")});
    OwnDefService own(*db);
    EXPECT_EQ(own.name(QStringLiteral("20")), q("颜色"));
    EXPECT_EQ(own.name(QStringLiteral("21")), q("等'级"));
    EXPECT_EQ(own.name(QStringLiteral("22")), QString()) << "only the two free items have names";
    EXPECT_EQ(own.name(QStringLiteral("20' or '1'='1")), QString());
}

TEST_P(OwnDefTest, UnnamedItemsKeepTheBuiltInNames)
{
    auto db = qx::test::openFreshCompany(backend());
    OwnDefService own(*db);
    EXPECT_EQ(own.name(QStringLiteral("20")), q("自由项1")) << "no row";
    EXPECT_EQ(own.name(QStringLiteral("21")), q("自由项2"));

    db->execute(QStringLiteral("INSERT INTO UserDefItem (cID, cName) VALUES (?, ?)"),
                {QStringLiteral("20"), QString()});
    db->execute(QStringLiteral("INSERT INTO UserDefItem (cID, cName) VALUES (?, ?)"),
                {QStringLiteral("21"), QVariant()});
    EXPECT_EQ(own.name(QStringLiteral("20")), q("自由项1")) << "an empty name";
    EXPECT_EQ(own.name(QStringLiteral("21")), q("自由项2")) << "a Null name";
}

QX_INSTANTIATE_BACKENDS(OwnDefTest);
