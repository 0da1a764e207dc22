#include "list/list_bulk.h"

#include "bulk/component_replace.h"
#include "bulk/structure_import.h"
#include "card/card_columns.h"
#include "texts/texts.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/prompter.h"
#include "platform/xlsx_template.h"

#include <QAction>
#include <QCheckBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QStyle>
#include <QToolBar>
#include <QVBoxLayout>

namespace qx {

namespace {

const QString kImportKey = QStringLiteral("ButImport");
const QString kReplaceKey = QStringLiteral("ButReplace");

FileChooser& chooser()
{
    static FileChooser c;
    return c;
}

std::function<void(const QStringList&, QWidget*)>& reportShower()
{
    static std::function<void(const QStringList&, QWidget*)> s;
    return s;
}

QString chooseFile(QWidget* parent, bool forSaving, const QString& filter)
{
    if (chooser()) return chooser()(parent, forSaving, filter);
    return forSaving ? QFileDialog::getSaveFileName(parent, QString(), QString(), filter)
                     : QFileDialog::getOpenFileName(parent, QString(), QString(), filter);
}

void showReport(const QStringList& lines, QWidget* parent)
{
    if (reportShower()) return reportShower()(lines, parent);
    ReportDialog dialog(lines, parent);
    dialog.exec();
}

QPushButton* addButton(QDialogButtonBox* box, const QString& caption,
                       QDialogButtonBox::ButtonRole role)
{
    QPushButton* b = box->addButton(caption, role);
    b->setObjectName(caption);
    return b;
}

}  // namespace

void setFileChooser(FileChooser c) { chooser() = std::move(c); }
void setReportShower(std::function<void(const QStringList&, QWidget*)> s)
{
    reportShower() = std::move(s);
}

bool isBulkCommand(const QString& key) { return key == kImportKey || key == kReplaceKey; }

void addBulkActions(FrmPS& window, QToolBar& toolbar)
{
    toolbar.addSeparator();
    const struct {
        const QString& key;
        const QString& caption;
        const QString& tip;
        const char* theme;
        QStyle::StandardPixmap fallback;
    } commands[] = {
        {kImportKey, text::kImport, text::kTipImport, "document-open", QStyle::SP_DialogOpenButton},
        {kReplaceKey, text::kReplaceComponent, text::kTipReplaceComponent, "edit-find-replace",
         QStyle::SP_BrowserReload},
    };
    for (const auto& c : commands) {
        QAction* a = toolbar.addAction(
            QIcon::fromTheme(QString::fromLatin1(c.theme), window.style()->standardIcon(c.fallback)),
            c.caption);
        a->setIconText(c.caption);
        a->setToolTip(c.tip);
        a->setData(c.key);
        a->setObjectName(c.key);
        const QString key = c.key;
        QObject::connect(a, &QAction::triggered, &window, [&window, key] { window.dispatch(key); });
    }
}

void runBulkCommand(FrmPS& window, const QString& key)
{
    // Both change structures: nothing for a read-only opening.
    if (window.context().readOnly) return;
    if (key == kImportKey) {
        ImportDialog dialog(window);
        dialog.exec();
    } else if (key == kReplaceKey) {
        ReplaceDialog dialog(window);
        dialog.exec();
    }
}

// ---- report ----

ReportDialog::ReportDialog(const QStringList& lines, QWidget* parent) : QDialog(parent)
{
    setWindowTitle(text::kImportReport);
    text_ = new QPlainTextEdit(this);
    text_->setReadOnly(true);
    text_->setPlainText(lines.join(QLatin1Char('\n')));
    auto* box = new QDialogButtonBox(this);
    connect(addButton(box, text::kSaveReport, QDialogButtonBox::ActionRole), &QPushButton::clicked,
            this, [this] { save(); });
    connect(addButton(box, text::kClose, QDialogButtonBox::RejectRole), &QPushButton::clicked, this,
            &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text_);
    layout->addWidget(box);
    resize(760, 420);
}

QString ReportDialog::text() const { return text_->toPlainText(); }

bool ReportDialog::save()
{
    const QString path = chooseFile(this, true, text::kReportFileFilter);
    if (path.isEmpty()) return false;
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        f.write(text().toUtf8() + '\n') < 0) {
        Prompter::current().inform(text::outputUnwritable(path), text::kTitle);
        return false;
    }
    return true;
}

// ---- import ----

ImportDialog::ImportDialog(FrmPS& window) : QDialog(&window), window_(window)
{
    setWindowTitle(text::kImport + window.context().sProStru);
    file_ = new QLineEdit(this);
    file_->setObjectName(QStringLiteral("importFile"));
    auto* browse = new QPushButton(text::kImportChooseFile, this);
    browse->setObjectName(text::kImportChooseFile);
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString path = chooseFile(this, false, text::kImportFileFilter);
        if (!path.isEmpty()) file_->setText(path);
    });
    replace_ = new QCheckBox(text::kImportReplaceExisting, this);
    auto* row = new QHBoxLayout;
    row->addWidget(file_, 1);
    row->addWidget(browse);
    auto* form = new QFormLayout;
    form->addRow(text::kImportFile, row);
    form->addRow(QString(), replace_);

    auto* box = new QDialogButtonBox(this);
    connect(addButton(box, text::kImportTemplate, QDialogButtonBox::ActionRole),
            &QPushButton::clicked, this, [this] { writeTemplate(); });
    connect(addButton(box, text::kImportCheck, QDialogButtonBox::ActionRole),
            &QPushButton::clicked, this, [this] { run(true); });
    connect(addButton(box, text::kImport, QDialogButtonBox::AcceptRole), &QPushButton::clicked,
            this, [this] { run(false); });
    connect(addButton(box, text::kClose, QDialogButtonBox::RejectRole), &QPushButton::clicked,
            this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(box);
    resize(560, 140);
}

void ImportDialog::writeTemplate()
{
    const QString path = chooseFile(this, true, text::kTemplateFileFilter);
    if (path.isEmpty()) return;
    QString error;
    if (!writeWorkbook(path, {importTemplateCaptions(window_.context())}, {text::kTemplateSheet},
                       &error))
        Prompter::current().inform(error, text::kTitle);
}

QStringList ImportDialog::run(bool dryRun)
{
    const QString path = file_->text().trimmed();
    if (path.isEmpty()) {
        Prompter::current().inform(text::kImportNoFile, text::kTitle);
        return {};
    }
    QProgressDialog progress(text::kImportProgress, text::kCancel, 0, 1, this);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(400);
    ImportOptions options;
    options.replace = replace_->isChecked();
    options.dryRun = dryRun;
    options.computer = window_.context().ComputerName;
    options.progress = [&progress](int done, int total) {
        progress.setMaximum(total);
        progress.setValue(done);
        QCoreApplication::processEvents();
        return !progress.wasCanceled();
    };
    const ImportResult result = importFile(window_.context(), path, options);
    progress.reset();
    if (result.outcome == ImportResult::Outcome::Written) window_.refresh();
    const QStringList report = result.report();
    showReport(report, this);
    return report;
}

// ---- replace ----

ReplaceDialog::ReplaceDialog(FrmPS& window) : QDialog(&window), window_(window)
{
    setWindowTitle(text::kReplaceComponent);
    old_ = new QLineEdit(this);
    new_ = new QLineEdit(this);
    factor_ = new QLineEdit(QStringLiteral("1"), this);
    for (QLineEdit* e : {old_, new_, factor_}) e->setMaxLength(20);
    // The line selected in the child grid names the component to replace.
    const Grid& lines = *window.SupPS2();
    if (lines.rows() >= 2 && lines.row() >= 1) old_->setText(lines.textMatrix(lines.row(), ColChildCode));
    auto* form = new QFormLayout;
    form->addRow(text::kReplaceOld, old_);
    form->addRow(text::kReplaceNew, new_);
    form->addRow(text::kReplaceFactor, factor_);
    auto* box = new QDialogButtonBox(this);
    connect(addButton(box, text::kImportCheck, QDialogButtonBox::ActionRole),
            &QPushButton::clicked, this, [this] { run(true); });
    connect(addButton(box, text::kReplaceComponent, QDialogButtonBox::AcceptRole),
            &QPushButton::clicked, this, [this] { run(false); });
    connect(addButton(box, text::kClose, QDialogButtonBox::RejectRole), &QPushButton::clicked,
            this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(box);
}

QStringList ReplaceDialog::run(bool dryRun)
{
    ReplaceRequest req;
    req.oldCode = old_->text().trimmed();
    req.newCode = new_->text().trimmed();
    req.dryRun = dryRun;
    req.computer = window_.context().ComputerName;
    bool number = false;
    req.factor = factor_->text().trimmed().toDouble(&number);
    if (!number) {
        Prompter::current().inform(text::kReplaceFactor + text::kNotANumber, text::kTitle);
        return {};
    }
    if (!window_.context().dbase) return {};
    const ReplaceResult result = replaceComponent(*window_.context().dbase, req);
    if (result.outcome == ReplaceResult::Outcome::Written) window_.refresh();
    const QStringList report = result.report();
    showReport(report, this);
    return report;
}

}  // namespace qx
