#pragma once

// A company with master data for the card's rules, and the list context the card reads, built
// as the list window builds it.

#include "card/card_lookups.h"
#include "card/frm_pro_stru.h"
#include "shared/list_context.h"
#include "support/company.h"

#include <memory>

namespace qx::test {

// Items, departments, persons, warehouses, operations, free-item values and settings the card
// tests use, and the stored structures X1 -> X2 -> X3 and P2 -> A1 (inserted with bound values):
//   P1 成品一, P2 成品二     parents (P2 has a structure)
//   A1 零件一  rate 2.5, planned price 5, free items 1 and 2
//   A2 零件二  no rate, no planned price, no free item
//   A3 零件三  rate 2, planned price 3, free item 1 only
//   0101, 0102, 0201   items for prefix lookups; S1 a service item; X1, X2, X3 chain items
//   D1 一车间, D2 二车间, D3 named "D1" (a name that is another's code), D9 总厂 (not end-level)
//   E1 张三 (D1), E2 欧阳明华东方 (six characters)
//   W1 原料库 "计划价法", W2 成品库, W3 成品库 (same name as W2)
//   OP1 装配
//   free item 1 values 红色 (alias R), 蓝色 (alias B); free item 2 value 一等 (alias A)
void fillCardMasterData(Database& db);

// The list context over db: caches as the list opens them, 2 quantity decimals, both free items
// named (颜色, 等级) unless unnamed = true.
std::unique_ptr<ListContext> makeListContext(Database& db, bool unnamedFreeItems = false);

// The card's own lists opened with the card's statements, for the rules without a screen.
struct CardLists {
    std::unique_ptr<Recordset> inventory;
    std::unique_ptr<Recordset> department;
    std::unique_ptr<Recordset> warehouse;
};
CardLists openCardLists(Database& db);
CardLookups lookupsOf(Database& db, const ListContext& ctx, const CardLists& lists);

// The card over the context's recordsets, shown and active (adding a new structure or editing).
std::unique_ptr<FrmProStru> openCard(ListContext& ctx, bool adding = true);

// Base of the tests on a company with the master data above, once per backend: the list context
// and the card's lookups over it.
class CardCompanyTest : public CompanyTest {
protected:
    void SetUp() override;
    // The rows of `from`: a table, or a table with a fixed condition.
    int tableCount(const QString& from);

    std::unique_ptr<ListContext> ctx;
    CardLists lists;
    CardLookups lk;
};

}  // namespace qx::test
