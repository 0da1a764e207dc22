// Print, preview, output to a file, print set-up and the column settings from the real list
// window, on SQLite and PostgreSQL, with a scripted print control.

#include "list/column_settings.h"
#include "platform/print_control.h"
#include "support/host_run.h"
#include "support/structure_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QPushButton>
#include <QTableView>
#include <QTimer>

using namespace qx;
using namespace qx::test;

namespace {

class PrintWindow : public StructureWindowTest {
protected:
    void SetUp() override
    {
        StructureWindowTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_TRUE(outDir.isValid());
        control = std::make_unique<ScriptedPrintControl>(outDir.path());
    }
    void TearDown() override
    {
        control.reset();
        StructureWindowTest::TearDown();
    }
    QTemporaryDir outDir;
    std::unique_ptr<ScriptedPrintControl> control;
};

}  // namespace

TEST_P(PrintWindow, PrintPreviewOutputAndSetUpWithAndWithoutAPrinter)
{
    openWindow();
    ASSERT_TRUE(selectParent(QStringLiteral("P1")));
    control->printerInstalled = false;
    window->dispatch(QStringLiteral("Butprint"));
    EXPECT_EQ(boxes(prompter), QStringList{" 没有默认打印机，请安装打印机后再试一次！"});
    EXPECT_TRUE(control->printedPages.empty());

    prompter.clear();
    window->dispatch(QStringLiteral("Butpre"));
    ASSERT_EQ(control->previewPages.size(), 1u);
    EXPECT_EQ(control->previewPages[0], 1);

    control->outputFile = outDir.filePath(QStringLiteral("p1.pdf"));
    window->dispatch(QStringLiteral("Butout"));
    EXPECT_EQ(control->fileQuestions, 1);
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    const QString text = pdfText(control->outputFile);
    for (const char* s : {"产品结构", "父产品编码：P1", "父产品名称：成品一", "规格型号：规格一",
                          "使用部门编码：D1", "年度", "打印日期：", "子项编码", "C1", "零件一", "C2",
                          "零件二", "3.50"})
        EXPECT_TRUE(text.contains(QString::fromUtf8(s))) << s << "\n" << text.toStdString();
    // Only the selected structure's lines are on the page.
    EXPECT_FALSE(text.contains(QStringLiteral("零件三")));

    // A file that cannot be written is named; a cancelled file question writes and says nothing.
    control->outputFile = outDir.filePath(QStringLiteral("no/such/dir/out.csv"));
    window->dispatch(QStringLiteral("Butout"));
    EXPECT_EQ(boxes(prompter), QStringList{"无法写入文件 " + control->outputFile +
                                           "，请检查该文件能否写入后再试一次！"});
    prompter.clear();
    control->outputFile.clear();
    window->dispatch(QStringLiteral("Butout"));
    EXPECT_TRUE(prompter.shown.empty());

    // With a printer: the page of the structure selected now, and the print set-up.
    ASSERT_TRUE(selectParent(QStringLiteral("P3")));
    control->printerInstalled = true;
    window->dispatch(QStringLiteral("Butprint"));
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    ASSERT_EQ(control->printedPages.size(), 1u);
    const QString printed = pdfText(outDir.filePath(QStringLiteral("print.pdf")));
    EXPECT_TRUE(printed.contains(QStringLiteral("父产品编码：P3")));
    EXPECT_TRUE(printed.contains(QStringLiteral("成品二")));  // the line P2 by its name
    EXPECT_FALSE(printed.contains(QStringLiteral("零件二")));
    window->dispatch(QStringLiteral("Butsetup"));
    EXPECT_EQ(control->setups, 1);
}

// Columns hidden in the column-settings dialog ("setItem") are hidden for the session, whichever
// parent is selected, and neither printed nor output; Cancel keeps the choice before.
TEST_P(PrintWindow, ColumnsHiddenInTheSettingsDialogAreNeitherShownPrintedNorOutput)
{
    openWindow();
    ASSERT_TRUE(selectParent(QStringLiteral("P1")));
    Grid& g = *window->SupPS2();
    ASSERT_EQ(g.colWidth(1), 1200);
    const auto settings = [&](int col, bool checked, QDialogButtonBox::StandardButton button) {
        bool seen = false;
        QTimer::singleShot(0, [&] {
            auto* d = qobject_cast<ColumnSettingsDialog*>(QApplication::activeModalWidget());
            if (!d) {
                if (QWidget* w = QApplication::activeModalWidget()) w->close();  // never hang
                return;
            }
            seen = true;
            d->checkBox(col)->setChecked(checked);
            d->findChild<QDialogButtonBox*>()->button(button)->click();
        });
        window->dispatch(QStringLiteral("setItem"));
        EXPECT_TRUE(seen);
    };
    settings(1, false, QDialogButtonBox::Ok);  // the child name
    settings(3, true, QDialogButtonBox::Ok);   // a free item hidden from the start
    EXPECT_EQ(g.colWidth(1), 0);
    EXPECT_EQ(g.colWidth(3), 1000);
    EXPECT_EQ(g.textMatrix(1, 1), QStringLiteral("零件一")) << "only the widths change";
    ASSERT_TRUE(selectParent(QStringLiteral("P3")));
    EXPECT_EQ(g.colWidth(1), 0);
    ASSERT_TRUE(selectParent(QStringLiteral("P1")));

    control->outputFile = outDir.filePath(QStringLiteral("p1.csv"));
    window->dispatch(QStringLiteral("Butout"));
    const QByteArray bytes = fileBytes(control->outputFile);
    ASSERT_TRUE(bytes.startsWith("\xEF\xBB\xBF"));
    const QString csv = QString::fromUtf8(bytes.mid(3));
    EXPECT_TRUE(csv.contains(QStringLiteral("子项编码")));
    EXPECT_FALSE(csv.contains(QStringLiteral("子项名称")));
    EXPECT_FALSE(csv.contains(QStringLiteral("零件一")));
    EXPECT_TRUE(csv.contains(QStringLiteral("\r\nC1,"))) << csv.toStdString();
    EXPECT_TRUE(csv.contains(QStringLiteral("父产品名称：成品一")));
    control->outputFile = outDir.filePath(QStringLiteral("p1.pdf"));
    window->dispatch(QStringLiteral("Butout"));
    const QString text = pdfText(control->outputFile);
    EXPECT_TRUE(text.contains(QStringLiteral("C2")));
    EXPECT_FALSE(text.contains(QStringLiteral("零件二")));

    settings(1, true, QDialogButtonBox::Cancel);
    EXPECT_EQ(g.colWidth(1), 0);
    settings(1, true, QDialogButtonBox::Ok);
    EXPECT_EQ(g.colWidth(1), 1200);
    // A column left at the grid's default width comes back at the width it had on the screen.
    std::vector<bool> shown = columnVisibility(g);
    const int pixels = g.view()->columnWidth(12);
    ASSERT_GT(pixels, 0);
    shown[12] = false;
    applyColumnVisibility(g, shown);
    EXPECT_EQ(g.colWidth(12), 0);
    shown[12] = true;
    applyColumnVisibility(g, shown);
    EXPECT_NEAR(g.view()->columnWidth(12), pixels, 1);
}

TEST_P(PrintWindow, ParentNameWithQuoteGivesTheLayoutMessage)
{
    db->execute(QStringLiteral("update Inventory set cInvName=? where cInvCode=?"),
                {QStringLiteral("成品'一"), QStringLiteral("P1")});
    openWindow();
    ASSERT_TRUE(selectParent(QStringLiteral("P1")));
    control->outputFile = outDir.filePath(QStringLiteral("never.pdf"));
    for (const char* key : {"Butprint", "Butpre", "Butout"}) {
        prompter.clear();
        window->dispatch(QString::fromLatin1(key));
        EXPECT_EQ(boxes(prompter), QStringList{"意外错误，请稍后再试一次. [提示!]"}) << key;
    }
    EXPECT_TRUE(control->printedPages.empty());
    EXPECT_TRUE(control->previewPages.empty());
    EXPECT_FALSE(QFile::exists(control->outputFile));
    // Another structure still prints.
    prompter.clear();
    ASSERT_TRUE(selectParent(QStringLiteral("P2")));
    window->dispatch(QStringLiteral("Butpre"));
    EXPECT_TRUE(prompter.shown.empty());
    EXPECT_EQ(control->previewPages.size(), 1u);
}

TEST_P(PrintWindow, UnwritableDataDirectorySaysWhatFailedAndTheListKeepsWorking)
{
    openWindow();
    // The data directory turns into something that cannot hold files.
    const QString blocker = writeFile(outDir.filePath(QStringLiteral("blocker")), {});
    qputenv("QX_SYSTEM_DIR", (blocker + QStringLiteral("/data")).toUtf8());
    ASSERT_TRUE(selectParent(QStringLiteral("P1")));
    control->outputFile = outDir.filePath(QStringLiteral("never.csv"));
    for (const char* key : {"Butprint", "Butpre", "Butout"}) {
        prompter.clear();
        window->dispatch(QString::fromLatin1(key));
        ASSERT_EQ(prompter.shown.size(), 1u) << key;
        EXPECT_TRUE(prompter.shown[0].text.startsWith(QStringLiteral("无法建立打印临时数据库 ")));
        EXPECT_TRUE(prompter.shown[0].text.contains(blocker)) << prompter.shown[0].text.toStdString();
    }
    EXPECT_FALSE(QFile::exists(control->outputFile));
    // The list goes on: another parent shows its lines, and a deletion still works.
    ASSERT_TRUE(selectParent(QStringLiteral("P3")));
    EXPECT_EQ(gridColumn(*window->SupPS2(), 0), (QStringList{"C1", "P2"}));
    prompter.clear();
    prompter.answers = {true};
    focusParents();
    window->dispatch(QStringLiteral("ButDelete"));
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ProductStructure where cPSPCode=?"),
                        {QStringLiteral("P3")}),
              0);
    qputenv("QX_SYSTEM_DIR", systemDir.path().toUtf8());
}

QX_INSTANTIATE_BACKENDS(PrintWindow);
