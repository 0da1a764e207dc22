// The card FrmProStru on the offscreen screen: typed keys, scripted message boxes and lookups.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "platform/prompter.h"
#include "platform/ref_dialog.h"
#include "support/card_fixture.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTableView>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace qx;
using namespace qx::test;

namespace {

class CardWindow : public CardCompanyTest {
protected:
    QWidget* focus() const { return QApplication::focusWidget(); }
    void typeText(const QString& text)
    {
        for (QChar ch : text) {
            if (ch.unicode() < 0x80) {
                QTest::keyClick(focus(), ch.toLatin1());
                continue;
            }
            // Chinese text arrives as key events that carry it (as an input method sends it).
            QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, QString(ch));
            QApplication::sendEvent(focus(), &press);
            QKeyEvent release(QEvent::KeyRelease, Qt::Key_unknown, Qt::NoModifier, QString(ch));
            QApplication::sendEvent(focus(), &release);
        }
    }
    void key(Qt::Key k, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        QTest::keyClick(focus(), k, mods);
    }
    // Types into the header field and ends with Tab or Enter.
    void typeField(QLineEdit* field, const QString& text, Qt::Key end = Qt::Key_Return)
    {
        field->setFocus();
        field->clear();
        typeText(text);
        key(end);
    }
    // Types into a cell of the grid and leaves it with Enter.
    void typeCell(int row, int col, const QString& text)
    {
        Grid* g = card->SupPS();
        g->setRow(row);
        g->setCol(col);
        g->view()->setFocus();
        typeText(text);
        key(Qt::Key_Return);
    }
    QString cell(int row, int col) const { return card->SupPS()->textMatrix(row, col); }
    QString editorText() const
    {
        auto* e = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        return e ? e->text() : QStringLiteral("<no editor>");
    }
    void addLine() { key(Qt::Key_I, Qt::ControlModifier); }

    void open(bool adding = true) { card = openCard(*ctx, adding); }
    // A new card for P1, its grid focused on a fresh line.
    void openOnANewLineOfP1()
    {
        open();
        typeField(card->EdtcPSPCode(), QStringLiteral("P1"));
        card->SupPS()->view()->setFocus();
        addLine();
    }

    std::unique_ptr<FrmProStru> card;
    ScriptedPrompter prompter;
    ScriptedRefChooser chooser;
};

TEST_P(CardWindow, LoadsItsLayoutFromTheCompany)
{
    ctx->sProStru = QStringLiteral("物料清单");
    ctx->parentTerm = QStringLiteral("成品");
    open();
    EXPECT_EQ(card->windowTitle(), QStringLiteral("物料清单定义"));
    EXPECT_EQ(card->LblcPSPCode()->text(), QStringLiteral("成品编码"));
    EXPECT_EQ(card->LblcDepCode()->text(), QStringLiteral("加工部门"));
    Grid* g = card->SupPS();
    ASSERT_EQ(g->cols(), 17);
    EXPECT_EQ(g->textMatrix(0, ColFree1), QStringLiteral("颜色"));  // the company's names
    EXPECT_EQ(g->colWidth(ColPieces), 800);  // the company's switch is "TRUE"
    EXPECT_EQ(g->rows(), 2);  // one empty line to type into
    EXPECT_EQ(card->action(QStringLiteral("ButSave"))->toolTip(), QStringLiteral("保存( F6 )"));

    // Free items not in use and the switch set to anything but "TRUE": zero-wide, still there.
    db->execute(QStringLiteral("update accinformation set cValue=? where cID=?"),
                {QStringLiteral("true"), QStringLiteral("22")});
    auto unnamed = makeListContext(*db, true);
    FrmProStru plain(*unnamed);
    EXPECT_EQ(plain.windowTitle(), QStringLiteral("产品结构定义"));
    EXPECT_EQ(plain.SupPS()->textMatrix(0, ColFree1), QStringLiteral("自由项一"));
    EXPECT_EQ(plain.SupPS()->textMatrix(0, ColFree2), QStringLiteral("自由项二"));
    for (int c : {int(ColFree1), int(ColFree2), int(ColAuxUnit), int(ColPieces), int(ColExchRate)})
        EXPECT_EQ(plain.SupPS()->colWidth(c), 0) << c;
}

TEST_P(CardWindow, ParentAndDepartmentChecksOnTabAndEnter)
{
    open();
    typeField(card->EdtcPSPCode(), QString(), Qt::Key_Tab);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("主产品编码不能为空！")});
    EXPECT_FALSE(card->parentAccepted());
    EXPECT_EQ(focus(), card->EdtcDepCode());  // Tab moved on first
    EXPECT_TRUE(card->Com1()->isVisible());

    prompter.clear();
    typeField(card->EdtcPSPCode(), QStringLiteral("P2"));
    EXPECT_EQ(prompter.last(), QStringLiteral("所填父项编码已定义过，请修改！"));
    typeField(card->EdtcPSPCode(), QStringLiteral("ZZ"));
    EXPECT_EQ(prompter.last(), QStringLiteral("所填存货编码不存在，请修改！"));
    EXPECT_EQ(card->EdtcPSPCode()->text(), QStringLiteral("ZZ"));  // left for correction
    EXPECT_EQ(prompter.shown.size(), 2u);
    EXPECT_EQ(prompter.shown[0].title, QStringLiteral("提示！"));

    prompter.clear();
    typeField(card->EdtcPSPCode(), QStringLiteral("P1"));
    EXPECT_TRUE(prompter.shown.empty());
    EXPECT_TRUE(card->parentAccepted());
    EXPECT_EQ(card->Edtname1()->text(), QStringLiteral("成品一"));
    EXPECT_EQ(card->Edtname2()->text(), QStringLiteral("规格P1"));

    typeField(card->EdtcDepCode(), QStringLiteral("D2"));
    EXPECT_EQ(card->EdtcDepCode()->text(), QStringLiteral("二车间"));
    EXPECT_TRUE(card->departmentAccepted());
    EXPECT_TRUE(card->Com2()->isVisible());
    typeField(card->EdtcDepCode(), QStringLiteral("D1"));  // a name first
    EXPECT_EQ(card->EdtcDepCode()->text(), QStringLiteral("D1"));
    typeField(card->EdtcDepCode(), QStringLiteral("D9"));
    EXPECT_EQ(prompter.last(), QStringLiteral("所填生产部门不存在，请修改！"));
    EXPECT_FALSE(card->departmentAccepted());
    EXPECT_EQ(card->EdtcDepCode()->text(), QStringLiteral("D9"));

    // Entering the department with the mouse checks the parent (not kept).
    prompter.clear();
    card->EdtcPSPCode()->setFocus();
    card->EdtcPSPCode()->clear();
    QTest::mouseClick(card->EdtcDepCode(), Qt::LeftButton);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("主产品编码不能为空！")});
    EXPECT_TRUE(card->parentAccepted());

    // Editing an existing structure: any code passes unlooked-up, an empty one does not.
    card->adding = false;
    prompter.clear();
    typeField(card->EdtcPSPCode(), QStringLiteral("ZZ"));
    EXPECT_TRUE(prompter.shown.empty());
    typeField(card->EdtcPSPCode(), QString());
    EXPECT_EQ(prompter.last(), QStringLiteral("主产品编码不能为空！"));
}

TEST_P(CardWindow, Com1PrefixNarrowsLaterChecks)
{
    open();
    card->EdtcPSPCode()->setText(QStringLiteral("01"));
    chooser.pickCode.clear();
    QTest::mouseClick(card->Com1(), Qt::LeftButton);
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("主产品"));
    EXPECT_EQ(chooser.lastCaptions,
              (QStringList{"产品编码", "产品名称", "规格型号", "计量单位", "计划价/售价"}));
    EXPECT_EQ(chooser.lastRowCount, 2);  // 0101 and 0102
    typeField(card->EdtcPSPCode(), QStringLiteral("0201"));
    EXPECT_EQ(prompter.last(), QStringLiteral("所填存货编码不存在，请修改！"));
    typeField(card->EdtcPSPCode(), QStringLiteral("P1"));
    EXPECT_EQ(prompter.last(), QStringLiteral("所填存货编码不存在，请修改！"));

    // A pick writes code, name and specification; an empty prefix brings every item back.
    card->EdtcPSPCode()->clear();
    chooser.pickCode = QStringLiteral("P1");
    card->EdtcPSPCode()->setFocus();
    key(Qt::Key_F2);
    EXPECT_EQ(card->EdtcPSPCode()->text(), QStringLiteral("P1"));
    EXPECT_EQ(card->Edtname1()->text(), QStringLiteral("成品一"));
    EXPECT_EQ(card->Edtname2()->text(), QStringLiteral("规格P1"));
    EXPECT_GE(chooser.lastRowCount, 10);

    chooser.pickCode = QStringLiteral("D2");
    card->EdtcDepCode()->setFocus();
    key(Qt::Key_F2);
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("生产部门"));
    EXPECT_EQ(chooser.lastCaptions, (QStringList{"部门编码", "部门名称", "负责人", "是否末级"}));
    EXPECT_EQ(card->EdtcDepCode()->text(), QStringLiteral("二车间"));
}

TEST_P(CardWindow, TypedLineIsCheckedCellByCell)
{
    openOnANewLineOfP1();
    ASSERT_EQ(card->SupPS()->rows(), 2);
    EXPECT_EQ(card->SupPS()->row(), 1);

    prompter.clear();
    typeCell(1, ColChildCode, QStringLiteral("A1'"));
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("请去掉非法字符 |,' ")});
    EXPECT_TRUE(card->SupPS()->isEditing());
    EXPECT_EQ(editorText(), QStringLiteral("A1'"));
    EXPECT_FALSE(card->validating());
    EXPECT_EQ(cell(1, ColChildName), QString());  // nothing filled on a refusal
    key(Qt::Key_Backspace);
    key(Qt::Key_Return);
    EXPECT_FALSE(card->SupPS()->isEditing());
    EXPECT_EQ(cell(1, ColChildCode), QStringLiteral("A1"));
    EXPECT_EQ(cell(1, ColChildName), QStringLiteral("零件一"));
    EXPECT_EQ(cell(1, ColExchRate), QStringLiteral("2.5"));
    EXPECT_EQ(prompter.shown.size(), 1u);

    typeCell(1, ColPieces, QStringLiteral("3"));
    EXPECT_EQ(cell(1, ColPieces), QStringLiteral("3.00"));
    EXPECT_EQ(cell(1, ColQuantity), QStringLiteral("7.50"));
    typeCell(1, ColWarehouse, QStringLiteral("W2"));
    EXPECT_EQ(cell(1, ColWarehouse), QStringLiteral("成品库"));
    typeCell(1, ColPerson, QStringLiteral("E1"));
    EXPECT_EQ(cell(1, ColPerson), QStringLiteral("张三"));
    typeCell(1, ColDept, QStringLiteral("D2"));
    EXPECT_EQ(cell(1, ColDept), QStringLiteral("二车间"));
    typeCell(1, ColOperation, QStringLiteral("OP1"));
    EXPECT_EQ(cell(1, ColOperation), QStringLiteral("装配"));
    typeCell(1, ColFree1, QStringLiteral("R"));
    EXPECT_EQ(cell(1, ColFree1), QStringLiteral("红色"));
    EXPECT_EQ(prompter.shown.size(), 1u);

    prompter.clear();
    card->SupPS()->cancelEdit();
    typeCell(1, ColQuantity, QStringLiteral("0"));
    EXPECT_EQ(prompter.last(), QStringLiteral("定额数量不能小于等于零！"));
    EXPECT_EQ(editorText(), QStringLiteral("0"));
    EXPECT_EQ(cell(1, ColQuantity), QStringLiteral("7.50"));
    card->SupPS()->cancelEdit();
    typeCell(1, ColWarehouse, QStringLiteral("W9"));
    EXPECT_EQ(prompter.last(), QStringLiteral("所填仓库不存在，请重新填写！"));
    card->SupPS()->cancelEdit();

    // The second line: the same child is a repeat; the unfinished line cannot be left behind.
    addLine();
    ASSERT_EQ(card->SupPS()->rows(), 3);
    prompter.clear();
    addLine();  // the new line is still untouched: Ctrl+I stays on it
    EXPECT_TRUE(prompter.shown.empty());
    EXPECT_EQ(card->SupPS()->rows(), 3);
    typeCell(2, ColChildCode, QStringLiteral("a1"));
    EXPECT_EQ(prompter.last(), QStringLiteral("产品重复出现，请修改！"));
    card->SupPS()->cancelEdit();
    // Ctrl+I and Ctrl+D never reach a cell as text.
    EXPECT_EQ(cell(2, ColChildCode), QString());
    prompter.clear();
    typeCell(2, ColChildCode, QStringLiteral("A2"));
    addLine();
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("本行尚未填完整，不能增加新行！")});
    EXPECT_EQ(card->SupPS()->rows(), 3);
}

TEST_P(CardWindow, RepeatBeforeCycleAndCycleAgainstStoredStructures)
{
    open();
    typeField(card->EdtcPSPCode(), QStringLiteral("X3"));
    EXPECT_TRUE(prompter.shown.empty());
    card->SupPS()->view()->setFocus();
    addLine();
    typeCell(1, ColChildCode, QStringLiteral("x3"));
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("产品重复出现，请修改！")});
    card->SupPS()->cancelEdit();
    typeCell(1, ColChildCode, QStringLiteral("X1"));
    EXPECT_EQ(prompter.last(), QStringLiteral("所填的产品结构出现循环调用，请修改！"));
    EXPECT_EQ(cell(1, ColChildCode), QString());
}

TEST_P(CardWindow, FreeItemCellsFollowTheItem)
{
    openOnANewLineOfP1();
    typeCell(1, ColChildCode, QStringLiteral("A2"));
    // Locked: typing there opens no editor, and the pieces of an item without a rate neither.
    for (int col : {int(ColFree1), int(ColFree2), int(ColPieces), int(ColChildName)}) {
        card->SupPS()->setCol(col);
        card->SupPS()->view()->setFocus();
        QTest::keyClicks(focus(), QStringLiteral("x"));
        EXPECT_FALSE(card->SupPS()->isEditing()) << col;
    }
    card->SupPS()->setTextMatrix(1, ColChildCode, QString());
    typeCell(1, ColChildCode, QStringLiteral("A1"));
    typeCell(1, ColFree1, QStringLiteral("蓝色"));
    typeCell(1, ColFree2, QStringLiteral("A"));
    EXPECT_EQ(cell(1, ColFree1), QStringLiteral("蓝色"));
    EXPECT_EQ(cell(1, ColFree2), QStringLiteral("一等"));
    // A3 has free item 1 only: free item 2 is emptied at once.
    typeCell(1, ColChildCode, QStringLiteral("A3"));
    EXPECT_EQ(cell(1, ColFree1), QStringLiteral("蓝色"));
    EXPECT_EQ(cell(1, ColFree2), QString());
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
}

TEST_P(CardWindow, PlannedPriceRuleHoldsTheLine)
{
    openOnANewLineOfP1();
    typeCell(1, ColChildCode, QStringLiteral("A2"));  // no planned price
    typeCell(1, ColQuantity, QStringLiteral("2"));
    typeCell(1, ColWarehouse, QStringLiteral("W1"));  // 原料库, valued at planned price
    EXPECT_TRUE(prompter.shown.empty());
    addLine();
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("计划价法核算的仓库不能存放无计划价的存货！")});
    EXPECT_EQ(card->SupPS()->rows(), 2);
    typeCell(1, ColWarehouse, QStringLiteral("W2"));
    addLine();
    EXPECT_EQ(card->SupPS()->rows(), 3);
    EXPECT_EQ(card->SupPS()->row(), 2);
}

TEST_P(CardWindow, LineReferencesAndTheMenu)
{
    openOnANewLineOfP1();
    // F2 with "A" typed lists the items beginning with A; the pick is checked as if typed.
    Grid* g = card->SupPS();
    g->setCol(ColChildCode);
    g->view()->setFocus();
    typeText(QStringLiteral("A"));
    chooser.pickCode = QStringLiteral("A3");
    key(Qt::Key_F2);
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("子产品"));
    EXPECT_EQ(chooser.lastRowCount, 3);
    EXPECT_EQ(cell(1, ColChildCode), QStringLiteral("A3"));
    EXPECT_EQ(cell(1, ColChildName), QStringLiteral("零件三"));

    const auto pick = [&](int col, const QString& code) {
        chooser.pickCode = code;
        g->setCol(col);
        g->view()->setFocus();
        key(Qt::Key_F2);
    };
    pick(ColWarehouse, QStringLiteral("W1"));
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("仓库"));
    EXPECT_EQ(chooser.lastCaptions, (QStringList{"仓库编码", "仓库名称", "记价方式", "所属部门"}));
    EXPECT_EQ(cell(1, ColWarehouse), QStringLiteral("原料库"));
    pick(ColPerson, QStringLiteral("E2"));
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("库管员"));
    EXPECT_EQ(cell(1, ColPerson), QStringLiteral("欧阳明华东方"));
    pick(ColDept, QStringLiteral("D2"));
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("用料车间"));
    EXPECT_EQ(cell(1, ColDept), QStringLiteral("二车间"));
    pick(ColOperation, QStringLiteral("OP1"));
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("用料工序名称"));
    EXPECT_EQ(cell(1, ColOperation), QStringLiteral("装配"));
    pick(ColFree1, QStringLiteral("B"));
    EXPECT_EQ(chooser.lastTitle, QStringLiteral("参照"));
    EXPECT_EQ(cell(1, ColFree1), QStringLiteral("蓝色"));
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();

    const QRect r = g->view()->visualRect(g->view()->model()->index(0, ColChildName));
    QTest::mouseClick(g->view()->viewport(), Qt::RightButton, {}, r.center());
    EXPECT_TRUE(card->MenuSup()->isVisible());
    card->MenuSup()->hide();
}

TEST_P(CardWindow, CommandKeysAndLineDeletion)
{
    openOnANewLineOfP1();
    typeCell(1, ColChildCode, QStringLiteral("A1"));
    typeCell(1, ColQuantity, QStringLiteral("1"));
    typeCell(1, ColWarehouse, QStringLiteral("W2"));
    addLine();
    ASSERT_EQ(card->SupPS()->rows(), 3);
    // Ctrl+D asks; No keeps the line, Yes removes it.
    prompter.answers = {false};
    key(Qt::Key_D, Qt::ControlModifier);
    EXPECT_EQ(prompter.last(), QStringLiteral("确实要删去该子产品吗？"));
    EXPECT_TRUE(prompter.shown.back().question);
    EXPECT_EQ(card->SupPS()->rows(), 3);
    prompter.answers = {true};
    key(Qt::Key_D, Qt::ControlModifier);
    EXPECT_EQ(card->SupPS()->rows(), 2);

    // F5 turns the card into a new, empty one: one empty line.
    card->adding = false;
    key(Qt::Key_F5);
    EXPECT_TRUE(card->adding);
    EXPECT_EQ(card->SupPS()->rows(), 2);
    EXPECT_EQ(cell(1, ColChildCode), QString());
    EXPECT_EQ(card->EdtcPSPCode()->text(), QString());

    // Alt+F4 closes without a question, whatever was typed.
    prompter.clear();
    card->EdtcPSPCode()->setFocus();
    typeText(QStringLiteral("P1"));
    key(Qt::Key_F4, Qt::AltModifier);
    EXPECT_FALSE(card->isVisible());
    EXPECT_TRUE(prompter.shown.empty());
}

TEST_P(CardWindow, ChildPickIsJudgedAsTypedEvenWhenItEqualsTheTypedText)
{
    open();
    typeField(card->EdtcPSPCode(), QStringLiteral("P1"));
    Grid* g = card->SupPS();
    g->view()->setFocus();
    addLine();
    typeCell(1, ColChildCode, QStringLiteral("A3"));
    typeCell(1, ColFree1, QStringLiteral("红色"));
    ASSERT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();

    // "A2" typed in full and picked: the whole line is A2's (no free items), nothing half-done.
    g->setRow(1);
    g->setCol(ColChildCode);
    g->view()->setFocus();
    typeText(QStringLiteral("A2"));
    chooser.pickCode = QStringLiteral("A2");
    key(Qt::Key_F2);
    EXPECT_FALSE(g->isEditing());
    EXPECT_EQ(cell(1, ColChildCode), QStringLiteral("A2"));
    EXPECT_EQ(cell(1, ColChildName), QStringLiteral("零件二"));
    EXPECT_EQ(cell(1, ColFree1), QString());
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();

    // A refused pick stays in the editor, like a refused typed code; the cell keeps its value.
    typeText(QStringLiteral("P"));
    chooser.pickCode = QStringLiteral("P1");  // the parent itself
    key(Qt::Key_F2);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("产品重复出现，请修改！")});
    ASSERT_TRUE(g->isEditing());
    EXPECT_EQ(editorText(), QStringLiteral("P1"));
    EXPECT_EQ(cell(1, ColChildCode), QStringLiteral("A2"));
    key(Qt::Key_Escape);
    EXPECT_EQ(cell(1, ColChildCode), QStringLiteral("A2"));
    EXPECT_EQ(cell(1, ColChildName), QStringLiteral("零件二"));

    // The same from the lookup of a cell not being typed: a second line picking A2 again.
    prompter.clear();
    g->setCol(ColQuantity);
    typeCell(1, ColQuantity, QStringLiteral("1"));
    typeCell(1, ColWarehouse, QStringLiteral("W2"));
    addLine();
    ASSERT_EQ(g->row(), 2);
    g->setCol(ColChildCode);
    chooser.pickCode = QStringLiteral("A2");
    key(Qt::Key_F2);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("产品重复出现，请修改！")});
    ASSERT_TRUE(g->isEditing());
    EXPECT_EQ(editorText(), QStringLiteral("A2"));
    EXPECT_EQ(cell(2, ColChildCode), QString());
}

TEST_P(CardWindow, NewCardOpensOnOneEmptyLineThatTabFromTheDepartmentEnters)
{
    open();
    Grid* g = card->SupPS();
    ASSERT_EQ(g->rows(), 2);
    typeField(card->EdtcPSPCode(), QStringLiteral("P1"), Qt::Key_Tab);
    EXPECT_EQ(focus(), card->EdtcDepCode());
    typeField(card->EdtcDepCode(), QStringLiteral("D2"), Qt::Key_Tab);
    EXPECT_EQ(focus(), g->view());
    EXPECT_EQ(g->row(), 1);
    EXPECT_EQ(g->col(), int(ColChildCode));
    // Typing goes straight into the line.
    typeText(QStringLiteral("A2"));
    key(Qt::Key_Tab);
    EXPECT_EQ(cell(1, ColChildCode), QStringLiteral("A2"));
    EXPECT_EQ(cell(1, ColChildName), QStringLiteral("零件二"));
    typeCell(1, ColQuantity, QStringLiteral("2"));
    typeCell(1, ColWarehouse, QStringLiteral("W2"));
    ASSERT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();

    // A new empty last line is no line: the save writes one line and says nothing.
    addLine();
    ASSERT_EQ(g->rows(), 3);
    key(Qt::Key_F6);
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    auto rs =
        db->openRecordset(QStringLiteral("select cPSCode from ProductStructures where cPSPCode=?"),
                          RecordsetType::Snapshot, 0, {QStringLiteral("P1")});
    EXPECT_EQ(rs->recordCount(), 1);

    // A card whose only line is untouched has no line.
    key(Qt::Key_F5);
    ASSERT_EQ(g->rows(), 2);
    card->EdtcPSPCode()->setText(QStringLiteral("X3"));
    key(Qt::Key_F6);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("子产品未添加全，请修改！")});
}

TEST_P(CardWindow, RefusedSaveLeavesEveryCellAsTyped)
{
    openOnANewLineOfP1();
    typeCell(1, ColChildCode, QStringLiteral("A3"));
    typeCell(1, ColPieces, QStringLiteral("1"));
    typeCell(1, ColWarehouse, QStringLiteral("W2"));
    // Lines as the card-filling routine brings them: a quantity not yet formatted, and a
    // warehouse that is not (or no longer) in the master data.
    card->appendLine({"A2", "", "", "", "", "", "", "", "", "1", "", "成品库"});
    card->appendLine({"A1", "", "", "", "", "", "", "", "", "3", "", "W9"});
    ASSERT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    Grid* g = card->SupPS();
    QList<QStringList> before;
    for (int r = 1; r < g->rows(); ++r) {
        QStringList cells;
        for (int c = 0; c < g->cols(); ++c) cells << g->textMatrix(r, c);
        before << cells;
    }
    key(Qt::Key_F6);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("所填仓库不存在，请重新填写！")});
    ASSERT_EQ(g->rows(), before.size() + 1);
    for (int r = 1; r < g->rows(); ++r)
        for (int c = 0; c < g->cols(); ++c)
            EXPECT_EQ(g->textMatrix(r, c), before[r - 1][c]) << "row " << r << " column " << c;
}

QX_INSTANTIATE_BACKENDS(CardWindow);

}  // namespace
