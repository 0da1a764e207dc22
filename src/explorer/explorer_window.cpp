#include "explorer/explorer_window.h"

#include "texts/texts.h"
#include "explorer/explorer_export.h"
#include "explorer/explorer_tree_model.h"
#include "platform/database.h"
#include "platform/grid.h"
#include "platform/prompter.h"
#include "print/help_page.h"
#include "print/print_commands.h"

#include <QAction>
#include <QFileDialog>
#include <QDir>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>

#include <deque>

namespace qx::explorer {

namespace {

void tell(const QString& message) { Prompter::current().inform(message, text::kTitle); }

// Print widths of the tree's columns, in twips.
constexpr int kPrintWidths[] = {500, 1300, 1500, 1100, 600, 800, 600, 900, 800, 1000, 700};
constexpr int kIndentSpaces = 2;
constexpr int kDeepestLevel = 99;

}  // namespace

ExplorerWindow::ExplorerWindow(Database& db, Direction direction, int decimals,
                               const QString& dataDirectory, QWidget* parent)
    : QDialog(parent), db_(db), direction_(direction), decimals_(decimals), dataDirectory_(dataDirectory)
{
    const bool down = direction_ == Direction::Down;
    setObjectName(down ? QStringLiteral("FrmExplode") : QStringLiteral("FrmWhereUsed"));
    setWindowTitle(down ? text::kExplodeSheet : text::kWhereUsedSheet);

    toolbar_ = new QToolBar(this);
    toolbar_->setObjectName(QStringLiteral("TlbExplorer"));
    toolbar_->setToolButtonStyle(Qt::ToolButtonTextOnly);

    auto* fields = new QHBoxLayout;
    code_ = new QLineEdit(this);
    code_->setObjectName(QStringLiteral("EdtCode"));
    fields->addWidget(new QLabel(text::kItemCodeLabel, this));
    fields->addWidget(code_);
    quantity_ = new QLineEdit(QStringLiteral("1"), this);
    quantity_->setObjectName(QStringLiteral("EdtQuantity"));
    if (down) {
        fields->addWidget(new QLabel(text::kQuantityLabel, this));
        fields->addWidget(quantity_);
    } else {
        quantity_->hide();
    }
    level_ = new QSpinBox(this);
    level_->setObjectName(QStringLiteral("SpnLevel"));
    level_->setRange(1, kDeepestLevel);
    level_->setValue(2);
    fields->addWidget(new QLabel(text::kExpandToLevel, this));
    fields->addWidget(level_);
    fields->addStretch();
    connect(code_, &QLineEdit::returnPressed, this, [this] { dispatch(QStringLiteral("ButQuery")); });
    connect(quantity_, &QLineEdit::returnPressed, this, [this] { dispatch(QStringLiteral("ButQuery")); });

    model_ = new ExplorerTreeModel(db_, this);
    tree_ = new QTreeView(this);
    tree_->setObjectName(QStringLiteral("TreeExplorer"));
    tree_->setModel(model_);
    tree_->setUniformRowHeights(true);
    // A node opened is read at once, whether the view has laid itself out yet or not.
    connect(tree_, &QTreeView::expanded, this, [this](const QModelIndex& i) {
        if (model_->canFetchMore(i)) model_->fetchMore(i);
    });
    summary_ = new Grid(this);
    summary_->setObjectName(QStringLiteral("SupSummary"));
    summary_->setRowSelection(true);
    tabs_ = new QTabWidget(this);
    tabs_->addTab(tree_, down ? text::kExplodeSheet : text::kWhereUsedSheet);
    tabs_->addTab(summary_, text::kSummarySheet);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("LblStatus"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(toolbar_);
    layout->addLayout(fields);
    layout->addWidget(tabs_, 1);
    layout->addWidget(status_);

    createActions();
    resize(1100, 650);
}

ExplorerWindow::~ExplorerWindow()
{
    // The model refers to the report: it lets go first.
    model_->reset(nullptr);
}

void ExplorerWindow::createActions()
{
    const struct {
        const char* key;
        const QString& caption;
    } commands[] = {
        {"ButQuery", text::kQuery},          {"ButExpandAll", text::kExpandAll},
        {"ButCollapseAll", text::kCollapseAll}, {"ButExpandTo", text::kExpandToLevel},
        {"Butprint", text::kPrint},          {"Butpre", text::kCapPreview},
        {"Butout", text::kCapOutput},        {"ButHelp", text::kHelp},
        {"ButExit", text::kClose},
    };
    for (const auto& c : commands) {
        const QString key = QString::fromLatin1(c.key);
        QAction* a = toolbar_->addAction(c.caption);
        a->setData(key);
        a->setObjectName(key);
        connect(a, &QAction::triggered, this, [this, key] { dispatch(key); });
    }
}

QAction* ExplorerWindow::action(const QString& key) const
{
    for (QAction* a : toolbar_->actions())
        if (a->data().toString() == key) return a;
    return nullptr;
}

void ExplorerWindow::open(const QString& code, double quantity)
{
    code_->setText(code);
    quantity_->setText(QString::number(quantity, 'g', 15));
    dispatch(QStringLiteral("ButQuery"));
}

void ExplorerWindow::dispatch(const QString& key)
{
    if (key == QLatin1String("ButQuery")) {
        query();
    } else if (key == QLatin1String("ButExpandAll")) {
        expandToLevel(kDeepestLevel);
    } else if (key == QLatin1String("ButCollapseAll")) {
        tree_->collapseAll();
    } else if (key == QLatin1String("ButExpandTo")) {
        expandToLevel(level_->value());
    } else if (key == QLatin1String("Butprint") || key == QLatin1String("Butpre")) {
        if (!report_ || model_->rowCount() == 0)
            tell(text::kNoDataToPrint);
        else
            printOrPreview(key == QLatin1String("Butpre"));
    } else if (key == QLatin1String("Butout")) {
        if (!report_ || (model_->rowCount() == 0 && report_->summaryRows().empty()))
            tell(text::kNoDataToOutput);
        else
            exportFile();
    } else if (key == QLatin1String("ButHelp")) {
        print::showHelp(this);
    } else if (key == QLatin1String("ButExit")) {
        close();
    }
}

bool ExplorerWindow::query()
{
    const QString code = code_->text();
    if (const QString why = checkItemCode(code); !why.isEmpty()) {
        tell(why);
        return false;
    }
    double quantity = 1;
    if (direction_ == Direction::Down) {
        const auto q = parseQuantity(quantity_->text());
        if (!q) {
            tell(text::kBadQuantity);
            return false;
        }
        quantity = *q;
    }
    std::unique_ptr<Report> fresh;
    try {
        // The tree reads its nodes as they are opened: the summary's items are all it needs now.
        fresh = std::make_unique<Report>(db_, code, direction_, quantity, decimals_, Detail::Summary);
    } catch (const DbError& e) {
        tell(e.description());
        return false;
    }
    if (fresh->unknown()) {
        tell(text::unknownItemCode(code));
        return false;
    }
    model_->reset(nullptr);
    report_ = std::move(fresh);
    model_->reset(report_.get());
    if (model_->canFetchMore({})) model_->fetchMore({});
    tree_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    fillSummary();
    updateStatus();
    return true;
}

void ExplorerWindow::fillSummary()
{
    const QStringList captions = report_->summaryCaptions();
    summary_->setRows(1);
    summary_->setCols(int(captions.size()));
    for (int c = 0; c < captions.size(); ++c) summary_->setTextMatrix(0, c, captions[c]);
    for (const CellRow& row : report_->summaryRows()) {
        std::vector<QString> cells;
        for (const Cell& cell : row) cells.push_back(cell.text);
        summary_->appendRow(std::move(cells));
    }
    for (int c = 1; c < captions.size(); ++c)
        if (c == 1 || (direction_ == Direction::Down && (c == 5 || c == 6)))
            summary_->setColAlignment(c, CellAlignment::RightCenter);
}

void ExplorerWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_F1) {
        dispatch(QStringLiteral("ButHelp"));
        return;
    }
    QDialog::keyPressEvent(event);
}

QString ExplorerWindow::statusText() const { return status_->text(); }

void ExplorerWindow::updateStatus()
{
    if (direction_ == Direction::Down) {
        const Explosion& e = report_->explosion();
        QString s = text::totalCost(Report::moneyText(e.totalCost));
        // Parts without a planned price are counted, so that a total is never silently low.
        if (e.missingPrices > 0) s += QStringLiteral("    ") + text::missingPrices(e.missingPrices);
        status_->setText(s);
    } else {
        status_->setText(text::topProducts(qsizetype(report_->usage().tops.size())));
    }
}

void ExplorerWindow::expandToLevel(int level)
{
    if (!report_) return;
    tree_->collapseAll();
    // Breadth first, so that a budget cut leaves the upper levels whole.
    std::deque<QModelIndex> pending{QModelIndex()};
    int rows = 0;
    bool limited = false;
    while (!pending.empty()) {
        const QModelIndex at = pending.front();
        pending.pop_front();
        const int depth = at.isValid() ? model_->level(at) : 0;
        if (depth >= level) continue;
        if (model_->canFetchMore(at)) model_->fetchMore(at);
        const int n = model_->rowCount(at);
        if (rows + n > kExpandBudget) {
            limited = true;
            break;
        }
        rows += n;
        if (at.isValid()) tree_->expand(at);
        for (int r = 0; r < n; ++r) {
            const QModelIndex child = model_->index(r, 0, at);
            if (model_->hasChildren(child)) pending.push_back(child);
        }
    }
    if (limited) tell(text::expandLimited(rows));
}

std::vector<QStringList> ExplorerWindow::visibleRows() const
{
    std::vector<QStringList> out;
    std::function<void(const QModelIndex&)> walk = [&](const QModelIndex& parent) {
        for (int r = 0; r < model_->rowCount(parent); ++r) {
            const QModelIndex i = model_->index(r, 0, parent);
            QStringList cells;
            for (const Cell& c : model_->cells(i)) cells << c.text;
            // The code is indented by its level on paper, where there is no tree to show it.
            cells[TreeCode] = QString(kIndentSpaces * (model_->level(i) - 1), QLatin1Char(' ')) + cells[TreeCode];
            out.push_back(cells);
            if (tree_->isExpanded(i)) walk(i);
        }
    };
    walk({});
    return out;
}

void ExplorerWindow::printOrPreview(bool preview)
{
    print::PrintSource source;
    source.head.title = windowTitle();
    source.head.parentCode = report_->top().code;
    source.head.parentName = report_->top().name;
    source.head.specification = report_->top().spec;
    try {
        auto rs = db_.openRecordset(QStringLiteral("select cDepCode from ProductStructure where cPSPCode=?"),
                                    RecordsetType::Snapshot, 0, {report_->top().code});
        if (!rs->eof()) source.head.departmentCode = rs->field(0).toString();
    } catch (const DbError&) {
        // The head goes without a department rather than the print without a page.
    }
    source.head.year = QDate::currentDate().year();
    source.head.date = QDate::currentDate();
    const QStringList captions = report_->treeCaptions();
    for (int c = 0; c < captions.size(); ++c)
        source.columns.push_back({captions[c], kPrintWidths[c],
                                  c == TreeLevel || (c >= TreeQuantity && c < captions.size() - 1)});
    source.lines = visibleRows();
    if (preview)
        print::previewStructure(source, dataDirectory_, this);
    else
        print::printStructure(source, dataDirectory_, this);
}

void ExplorerWindow::exportFile()
{
    QString file;
    if (chooseExportFile) {
        file = chooseExportFile();
    } else {
        QString selected;
        file = QFileDialog::getSaveFileName(this, text::kTipOutput, QDir::homePath(), text::kExportFilter, &selected);
        if (!file.isEmpty() && !file.endsWith(QLatin1String(".xlsx"), Qt::CaseInsensitive) &&
            !file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive))
            file += selected.contains(QLatin1String("*.csv")) ? QStringLiteral(".csv") : QStringLiteral(".xlsx");
    }
    if (file.isEmpty()) return;
    try {
        report_->readTree(db_);
    } catch (const DbError& e) {
        tell(e.description());
        return;
    }
    const ExportOutcome out = file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive)
                                  ? writeCsv(file, *report_)
                                  : writeXlsx(file, *report_);
    if (!out.written)
        tell(out.error);
    else if (out.treeOmitted)
        tell(text::treeTooLarge(report_->treeSheetName(), maxTreeRows()));
}

}  // namespace qx::explorer
