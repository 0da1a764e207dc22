// The list window's "导入" and "替换子件" driven offscreen: the dialogs, the check that writes
// nothing, the import that writes and refreshes the list, the report saved, read-only mode.

#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "list/list_bulk.h"
#include "platform/grid.h"
#include "platform/prompter.h"
#include "support/card_fixture.h"
#include "support/structure_window.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

using namespace qx;
using namespace qx::test;

namespace {

class ListBulk : public CompanyTest {
protected:
    void SetUp() override
    {
        CompanyTest::SetUp();
        if (IsSkipped()) return;
        Prompter::install(&prompter);
        fillCardMasterData(*db);
        setReportShower([this](const QStringList& lines, QWidget*) { reports.push_back(lines); });
        setFileChooser([this](QWidget*, bool, const QString&) { return chosen; });
    }
    void TearDown() override
    {
        setReportShower({});
        setFileChooser({});
        Prompter::install(nullptr);
    }
    std::unique_ptr<FrmPS> open(bool readOnly = false)
    {
        hosts.push_back(std::make_unique<QXProStru>());
        return openList(*db, *hosts.back(), readOnly);
    }
    QString writeFile(const QString& name, const QString& text)
    {
        return qx::test::writeFile(systemDir.filePath(name), text.toUtf8());
    }
    static void click(QDialog& d, const QString& caption)
    {
        QPushButton* b = d.findChild<QPushButton*>(caption);
        ASSERT_NE(b, nullptr) << caption.toStdString();
        b->click();
    }
    static QStringList parentCodes(FrmPS& w)
    {
        QStringList codes;
        for (int r = 1; r < w.SupPS1()->rows(); ++r) codes << w.SupPS1()->textMatrix(r, 0);
        return codes;
    }

    ScriptedPrompter prompter;
    std::vector<std::unique_ptr<QXProStru>> hosts;
    QString chosen;
    std::vector<QStringList> reports;
};

TEST_P(ListBulk, CheckWritesNothingImportWritesAndRefreshesTheList)
{
    auto w = open();
    ASSERT_EQ(parentCodes(*w), (QStringList{"P2", "X1", "X2"}));
    ImportDialog d(*w);
    click(d, QStringLiteral("导入"));  // no file yet
    ASSERT_EQ(prompter.shown.size(), 1u);
    EXPECT_EQ(prompter.shown[0].text, QStringLiteral("请先选择要导入的文件！"));

    chosen = writeFile("s.csv", "父项编码,子项编码,定额数量,存放仓库\nP1,A3,2,成品库\nP1,A1,1,W2\n");
    click(d, QStringLiteral("选择文件…"));
    EXPECT_EQ(d.fileEdit()->text(), chosen);
    click(d, QStringLiteral("检查"));
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].last(), QStringLiteral("检查通过：1 个产品结构，共 2 行，没有写入任何数据"));
    EXPECT_EQ(parentCodes(*w), (QStringList{"P2", "X1", "X2"}));

    click(d, QStringLiteral("导入"));
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[1].last(), QStringLiteral("已导入 1 个产品结构，共 2 行"));
    EXPECT_EQ(parentCodes(*w), (QStringList{"P1", "P2", "X1", "X2"}));

    // Again: refused with the card's message unless the box says replace.
    click(d, QStringLiteral("导入"));
    EXPECT_EQ(reports[2].first(),
              QStringLiteral("第 2 行\t父项编码\t“P1”\t所填父项编码已定义过，请修改！"));
    d.replaceBox()->setChecked(true);
    click(d, QStringLiteral("导入"));
    EXPECT_EQ(reports[3].last(), QStringLiteral("已导入 1 个产品结构，共 2 行"));

    // The report dialog saves what it shows.
    ReportDialog report(reports[2], w.get());
    chosen = systemDir.filePath("report.txt");
    ASSERT_TRUE(report.save());
    QFile saved(chosen);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(saved.readAll()), reports[2].join('\n') + '\n');

    // The template carries the list window's captions.
    chosen = systemDir.filePath("t.xlsx");
    click(d, QStringLiteral("模板"));
    EXPECT_TRUE(QFile::exists(chosen));
}

// The operator cancels the progress dialog as soon as it is there: nothing is written, the
// report says so and the list stays as it was.
TEST_P(ListBulk, CancelInTheProgressDialogWritesNothing)
{
    auto w = open();
    ImportDialog d(*w);
    d.fileEdit()->setText(writeFile("c.csv", "父项编码,子项编码,定额数量,存放仓库\nP1,A3,2,成品库\nP1,A1,1,W2\n"));
    bool cancelled = false;
    QTimer::singleShot(0, &d, [&] {
        if (auto* progress = d.findChild<QProgressDialog*>()) {
            progress->cancel();
            cancelled = true;
        }
    });
    click(d, QStringLiteral("导入"));
    ASSERT_TRUE(cancelled);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].last(), QStringLiteral("已取消导入，没有写入任何数据"));
    EXPECT_EQ(parentCodes(*w), (QStringList{"P2", "X1", "X2"}));
    EXPECT_EQ(db->openRecordset(QStringLiteral("select count(*) from ProductStructures where cPSPCode='P1'"),
                                RecordsetType::Snapshot)
                  ->field(0)
                  .toInt(),
              0);
}

TEST_P(ListBulk, ReplaceStartsFromTheSelectedChildLine)
{
    auto w = open();
    w->SupPS1()->setRow(1);  // P2, whose line is A1
    w->Ffliter(QStringLiteral("P2"));
    ASSERT_GE(w->SupPS2()->rows(), 2);
    w->SupPS2()->setRow(1);
    ReplaceDialog d(*w);
    EXPECT_EQ(d.oldEdit()->text(), QStringLiteral("A1"));
    d.newEdit()->setText(QStringLiteral("A3"));
    d.factorEdit()->setText(QStringLiteral("1.5"));
    click(d, QStringLiteral("检查"));
    EXPECT_EQ(reports.back().last(), QStringLiteral("检查通过：将替换 1 个产品结构，1 行，没有写入任何数据"));
    click(d, QStringLiteral("替换子件"));
    EXPECT_EQ(reports.back().last(), QStringLiteral("已替换：1 个产品结构，1 行"));
    auto rs = db->openRecordset(
        QStringLiteral("select cPSCode, iPSQuantity from ProductStructures where cPSPCode='P2'"),
        RecordsetType::Snapshot);
    ASSERT_EQ(rs->recordCount(), 1);
    EXPECT_EQ(rs->value(0, 0).toString(), QStringLiteral("A3"));
    EXPECT_DOUBLE_EQ(rs->value(0, 1).toDouble(), 3);
}

TEST_P(ListBulk, ToolbarCommandsOpenTheirDialogsAndReadOnlyDisablesThem)
{
    auto w = open();
    QStringList titles;
    for (const QString key : {"ButImport", "ButReplace"}) {
        QAction* a = w->action(key);
        ASSERT_NE(a, nullptr);
        EXPECT_TRUE(a->isEnabled());
        QTimer::singleShot(0, [&titles] {
            if (auto* dlg = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                titles << dlg->windowTitle();
                dlg->reject();
            }
        });
        a->trigger();
    }
    EXPECT_EQ(titles, (QStringList{"导入产品结构", "替换子件"}));
    EXPECT_EQ(w->action("ButImport")->text(), QStringLiteral("导入"));

    auto ro = open(true);
    EXPECT_FALSE(ro->action("ButImport")->isEnabled());
    EXPECT_FALSE(ro->action("ButReplace")->isEnabled());
}

QX_INSTANTIATE_BACKENDS(ListBulk);

}  // namespace
