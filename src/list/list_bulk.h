#pragma once

// The list window's commands for structures in bulk: "导入" (a spreadsheet of structures,
// checked by every card rule and written all or nothing) and "替换子件" (one component
// replaced by another in every structure that uses it).

#include <QDialog>
#include <QStringList>

#include <functional>

class QCheckBox;
class QLineEdit;
class QPlainTextEdit;
class QToolBar;

namespace qx {

class FrmPS;

// The two commands at the end of the toolbar, keys "ButImport" and "ButReplace".
void addBulkActions(FrmPS& window, QToolBar& toolbar);
bool isBulkCommand(const QString& key);
// Runs the command's dialog modally.
void runBulkCommand(FrmPS& window, const QString& key);

// Where a file is chosen: a file dialog, or a test's own answer.
using FileChooser = std::function<QString(QWidget* parent, bool forSaving, const QString& filter)>;
void setFileChooser(FileChooser chooser);  // empty: the file dialogs again

// The report of an import or a replacement, with a button that saves it as a text file.
class ReportDialog : public QDialog {
public:
    ReportDialog(const QStringList& lines, QWidget* parent);
    QString text() const;
    bool save();  // asks for a file; false when none was chosen or it cannot be written
private:
    QPlainTextEdit* text_;
};

// How a finished job's report is shown (a modal ReportDialog unless a test says otherwise).
void setReportShower(std::function<void(const QStringList&, QWidget*)> shower);

class ImportDialog : public QDialog {
public:
    explicit ImportDialog(FrmPS& window);
    QLineEdit* fileEdit() const { return file_; }
    QCheckBox* replaceBox() const { return replace_; }
    // "检查" (dryRun) and "导入": the whole file under a progress dialog with cancel; the
    // report is shown; after a written import the list is refreshed. Returns the report.
    QStringList run(bool dryRun);
    void writeTemplate();

private:
    FrmPS& window_;
    QLineEdit* file_;
    QCheckBox* replace_;
};

class ReplaceDialog : public QDialog {
public:
    explicit ReplaceDialog(FrmPS& window);
    QLineEdit* oldEdit() const { return old_; }
    QLineEdit* newEdit() const { return new_; }
    QLineEdit* factorEdit() const { return factor_; }
    QStringList run(bool dryRun);

private:
    FrmPS& window_;
    QLineEdit* old_;
    QLineEdit* new_;
    QLineEdit* factor_;
};

}  // namespace qx
