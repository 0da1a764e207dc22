#include "card/frm_pro_stru.h"

#include "card/card_columns.h"
#include "card/free_items.h"
#include "card/header_checks.h"
#include "card/line_validation.h"
#include "texts/texts.h"
#include "platform/database.h"
#include "platform/prompter.h"
#include "platform/ref_dialog.h"
#include "print/help_page.h"
#include "shared/cls_ref.h"
#include "shared/code_to_name.h"
#include "shared/list_context.h"
#include "shared/record_lock.h"

#include <QAction>
#include <QApplication>
#include <QFocusEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QStyle>
#include <QTableView>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace qx {

namespace {
constexpr int kHelpContext = 31100033;

QStringList productCaptions()
{
    return {text::kRefProductCode, text::kRefProductName, text::kSpec, text::kRefUnit,
            text::kRefPrice};
}
QStringList warehouseCaptions()
{
    return {text::kRefWhCode, text::kRefWhName, text::kRefWhStyle, text::kRefWhDept};
}
// The department lookup lists the card's departments (end-level ones) with their four columns.
const QString kDepartmentRefSql = QStringLiteral(
    "select department.cDepCode,department.cDepName,department.cdepperson,"
    "cast(? as varchar(4)) as bDepEnd from department where bDepEnd=1");
// The card's part of the help page.
const QString kHelpAnchor = QStringLiteral("card");
}  // namespace

FrmProStru::FrmProStru(ListContext& ctx, QWidget* parent) : QDialog(parent), ctx_(ctx)
{
    setObjectName(QStringLiteral("FrmProStru"));
    setProperty("helpContext", kHelpContext);
    parentAccepted_ = departmentAccepted_ = validating_ = true;
    setWindowIcon(style()->standardIcon(QStyle::SP_FileDialogDetailedView));

    createActions();
    buildHeader();
    setUpGrid();
    openRecordsets();
    setWindowTitle(ctx_.sProStru + text::kDefine);
    grid_->setColWidth(ColHidden, kHiddenWidth);
    // A new card opens with one empty line to type into.
    grid_->addRow();

    attachReferenceHandlers();
    // The card sees every key before its controls (F2, F5, F6, Ctrl+I, Ctrl+D, Alt+F4).
    qApp->installEventFilter(this);
    resize(900, 520);
}

FrmProStru::~FrmProStru()
{
    qApp->removeEventFilter(this);
    if (ownLocks_) ownLocks_->releaseAll();
    // Unloading releases the inventory, department and warehouse lists, in that order.
    lists_.close();
}

void FrmProStru::buildHeader()
{
    auto* header = new QWidget(this);
    auto* g = new QGridLayout(header);
    g->setContentsMargins(8, 6, 8, 6);

    lblParent_ = new QLabel(ctx_.parentTerm + text::kCode, header);
    lblParent_->setObjectName(QStringLiteral("LblcPSPCode"));
    edtParent_ = new QLineEdit(header);
    edtParent_->setObjectName(QStringLiteral("EdtcPSPCode"));
    com1_ = new QToolButton(header);
    com1_->setObjectName(QStringLiteral("Com1"));
    com1_->setIcon(style()->standardIcon(QStyle::SP_FileDialogContentsView));
    com1_->setFocusPolicy(Qt::NoFocus);
    com1_->setVisible(false);

    lblName1_ = new QLabel(ctx_.parentTerm + text::kName, header);
    edtName1_ = new QLineEdit(header);
    edtName1_->setObjectName(QStringLiteral("Edtname1"));
    edtName1_->setReadOnly(true);
    edtName1_->setFocusPolicy(Qt::NoFocus);

    lblDep_ = new QLabel(text::kLabelDept, header);
    lblDep_->setObjectName(QStringLiteral("LblcDepCode"));
    edtDep_ = new QLineEdit(header);
    edtDep_->setObjectName(QStringLiteral("EdtcDepCode"));
    com2_ = new QToolButton(header);
    com2_->setObjectName(QStringLiteral("Com2"));
    com2_->setIcon(com1_->icon());
    com2_->setFocusPolicy(Qt::NoFocus);
    com2_->setVisible(false);

    lblName2_ = new QLabel(text::kSpec, header);
    edtName2_ = new QLineEdit(header);
    edtName2_->setObjectName(QStringLiteral("Edtname2"));
    edtName2_->setReadOnly(true);
    edtName2_->setFocusPolicy(Qt::NoFocus);

    g->addWidget(lblParent_, 0, 0);
    g->addWidget(edtParent_, 0, 1);
    g->addWidget(com1_, 0, 2);
    g->addWidget(lblName1_, 0, 3);
    g->addWidget(edtName1_, 0, 4);
    g->addWidget(lblDep_, 1, 0);
    g->addWidget(edtDep_, 1, 1);
    g->addWidget(com2_, 1, 2);
    g->addWidget(lblName2_, 1, 3);
    g->addWidget(edtName2_, 1, 4);
    g->setColumnStretch(1, 1);
    g->setColumnStretch(4, 2);

    connect(com1_, &QToolButton::clicked, this, &FrmProStru::lookUpParent);
    connect(com2_, &QToolButton::clicked, this, &FrmProStru::lookUpDepartment);

    grid_ = new Grid(this);
    grid_->setObjectName(QStringLiteral("SupPS"));
    lines_ = std::make_unique<GridLines>(*grid_);

    menuSup_ = new QMenu(this);
    menuSup_->setObjectName(QStringLiteral("MenuSup"));
    menuAdd_ = menuSup_->addAction(text::kMenuAdd);
    menuAdd_->setObjectName(QStringLiteral("MenuAdd"));
    menuDelete_ = menuSup_->addAction(text::kMenuDelete);
    menuDelete_->setObjectName(QStringLiteral("MenuDelete"));
    connect(menuAdd_, &QAction::triggered, this, &FrmProStru::addLine);
    connect(menuDelete_, &QAction::triggered, this, &FrmProStru::deleteLine);
    connect(grid_, &Grid::mousePressed, this, [this](int, int, Qt::MouseButton button) {
        if (button == Qt::RightButton) menuSup_->popup(QCursor::pos());
    });

    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(0, 0, 0, 0);
    v->setSpacing(0);
    v->addWidget(tlbPS_);
    v->addWidget(header);
    v->addWidget(grid_, 1);

    // The header fields' keys and focus reach eventFilter through the application-wide filter.
}

void FrmProStru::setUpGrid()
{
    grid_->setCols(kLineColumnCount);
    grid_->setRows(1);
    setUpLineColumns(*grid_, ctx_, readAuxUnitSwitch(ctx_));
    grid_->setEditHandler(this);
    grid_->setEditable(true);
}

void FrmProStru::openRecordsets()
{
    // Loading shows no message: a list that cannot be opened stays empty and the lookups then
    // find nothing.
    Database* db = ctx_.dbase;
    if (!db) return;
    lists_.open(*db, RecordsetType::Dynaset);
    try {
        departmentRef_ =
            db->openRecordset(kDepartmentRefSql, RecordsetType::Snapshot, 0, {text::kYes});
    } catch (const DbError&) {
        departmentRef_.reset();
    }
}

void FrmProStru::attachReferenceHandlers()
{
    ClsRef::Targets t;
    t.lines = lines_.get();
    t.parentPicked = [this](const QString& code, const QString& name, const QString& spec) {
        edtParent_->setText(code);
        edtName1_->setText(name);
        edtName2_->setText(spec);
    };
    t.departmentPicked = [this](const QString& name) { edtDep_->setText(name); };
    t.childPicked = [this](const QString& code) { childPicked(code); };
    ref_ = std::make_unique<ClsRef>(std::move(t));
}

void FrmProStru::changeEvent(QEvent* event)
{
    // Returning to the card gives every lookup a fresh handler.
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) attachReferenceHandlers();
    QDialog::changeEvent(event);
}

void FrmProStru::keyPressEvent(QKeyEvent* event)
{
    // The card is closed by its exit command only, never by Escape.
    if (event->key() == Qt::Key_Escape) {
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

CardLookups FrmProStru::lookups() const
{
    return lists_.lookups(ctx_);
}
void FrmProStru::inform(const QString& message) const
{
    Prompter::current().inform(message, text::kTitle);
}

void FrmProStru::setRecordsets(Recordset* parentRows, Recordset* childRows)
{
    parentRows_ = parentRows;
    childRows_ = childRows;
}

void FrmProStru::setHeader(const QString& parentCode, const QString& parentName,
                           const QString& department, const QString& spec)
{
    edtParent_->setText(parentCode);
    edtName1_->setText(parentName);
    edtDep_->setText(department);
    edtName2_->setText(spec);
}

void FrmProStru::setParentCodeAvailable(bool on)
{
    edtParent_->setEnabled(on);
    com1_->setEnabled(on);
}

void FrmProStru::clearLines()
{
    grid_->setRows(1);
}

void FrmProStru::appendLine(const QStringList& cells)
{
    if (grid_->rows() == 2 && lineUntouched(*lines_, 1)) clearLines();
    std::vector<QString> row(kLineColumnCount);
    for (int c = 0; c <= ColPlannedPrice && c < cells.size(); ++c) row[c] = cells[c];
    grid_->appendRow(std::move(row));
}

void FrmProStru::setEditable(bool on)
{
    editable_ = on;
    for (const char* key : {"ButSave", "ButAdd", "butaddline", "butdeleteline"})
        if (QAction* a = action(QString::fromLatin1(key))) a->setEnabled(on);
    menuAdd_->setEnabled(on);
    menuDelete_->setEnabled(on);
    edtParent_->setReadOnly(!on);
    edtDep_->setReadOnly(!on);
    com1_->setEnabled(on && edtParent_->isEnabled());
    com2_->setEnabled(on);
    grid_->setEditable(on);
}

// ---- header ------------------------------------------------------------------------------

bool FrmProStru::checkParent()
{
    const ParentCheck r =
        checkParentCode(edtParent_->text(), adding, parentRows_ ? parentRows_ : ctx_.mrecPro.get(),
                        lists_.inventory.get());
    if (!r.verdict) {
        inform(r.verdict.message);
        return false;
    }
    if (r.filled) {
        edtName1_->setText(r.name);
        edtName2_->setText(r.spec);
    }
    return true;
}

bool FrmProStru::checkDepartment()
{
    QString text = edtDep_->text();
    const Verdict v = qx::checkDepartment(text, lists_.department.get());
    if (!v) {
        inform(v.message);
        return false;
    }
    if (text != edtDep_->text()) edtDep_->setText(text);
    return true;
}

void FrmProStru::lookUpParent()
{
    if (!ctx_.dbase) return;
    const QString prefix = edtParent_->text();
    // The narrowed list replaces the card's own on purpose: later checks and lookups see only
    // the items of that prefix until the next lookup replaces it again.
    if (prefix.isEmpty())
        lists_.inventory = ctx_.dbase->openRecordset(kCardInventorySql);
    else
        lists_.inventory =
            ctx_.dbase->openRecordset(kCardInventorySql + kInventoryPrefixFilter,
                                      RecordsetType::Dynaset, 0, {prefix + QLatin1Char('%')});
    lists_.inventoryRows = indexItemRows(*lists_.inventory);
    if (RefChooser::current().choose(*lists_.inventory, text::kRefParent, productCaptions(), this))
        ref_->Ref1_Selected(*lists_.inventory);
}

void FrmProStru::lookUpDepartment()
{
    Recordset* rs = departmentRef_ ? departmentRef_.get() : lists_.department.get();
    if (!rs) return;
    if (RefChooser::current().choose(
            *rs, text::kRefDept,
            {text::kRefDeptCode, text::kRefDeptName, text::kRefDeptHead, text::kRefDeptEnd}, this))
        ref_->Ref2_Selected(*rs);
}

void FrmProStru::showHelp()
{
    print::showHelp(this, print::kHelpContext, kHelpAnchor);
}

// ---- keys and focus ----------------------------------------------------------------------

bool FrmProStru::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        auto* w = qobject_cast<QWidget*>(watched);
        if (w && w->window() == this && handleKey(watched, static_cast<QKeyEvent*>(event)))
            return true;
        return QDialog::eventFilter(watched, event);
    }
    if (event->type() == QEvent::FocusIn && (watched == edtParent_ || watched == edtDep_)) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (watched == edtParent_) {
            com1_->setVisible(true);
        } else {
            com2_->setVisible(true);
            // Entering the department runs the parent check (its result not kept); not when the
            // parent field's own Tab/Enter moved here (it checks itself), nor when the window
            // merely gets its focus back from a message box, nor when the code cannot be changed.
            if (!movingToDepartment_ && editable_ && edtParent_->isEnabled() &&
                reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
                checkParent();
        }
    }
    return QDialog::eventFilter(watched, event);
}

bool FrmProStru::handleKey(QObject* watched, QKeyEvent* key)
{
    const auto mods = key->modifiers();
    const int k = key->key();
    const bool inGrid =
        qobject_cast<QWidget*>(watched) && grid_->isAncestorOf(qobject_cast<QWidget*>(watched));
    switch (k) {
        case Qt::Key_F2:
            if (watched == edtParent_) {
                if (com1_->isEnabled()) lookUpParent();
            } else if (watched == edtDep_) {
                if (com2_->isEnabled()) lookUpDepartment();
            } else if (inGrid) {
                return false;  // the grid asks for its cell's reference itself, typed text included
            }
            return true;
        case Qt::Key_F1:
            showHelp();
            return true;
        case Qt::Key_F5:
            dispatch(QStringLiteral("ButAdd"));
            return true;
        case Qt::Key_F6:
            dispatch(QStringLiteral("ButSave"));
            return true;
        case Qt::Key_I:
            if (mods & Qt::ControlModifier) {
                dispatch(QStringLiteral("butaddline"));
                return true;  // never typed into a cell
            }
            break;
        case Qt::Key_D:
            if (mods & Qt::ControlModifier) {
                dispatch(QStringLiteral("butdeleteline"));
                return true;
            }
            break;
        case Qt::Key_F4:
            if (mods & Qt::AltModifier) {
                dispatch(QStringLiteral("ButExit"));
                return true;
            }
            break;
        default:
            break;
    }

    const bool tabOrEnter = k == Qt::Key_Tab || k == Qt::Key_Return || k == Qt::Key_Enter;
    if (tabOrEnter && !(mods & (Qt::ControlModifier | Qt::AltModifier)) && editable_) {
        if (watched == edtParent_) {
            movingToDepartment_ = true;
            edtDep_->setFocus(Qt::TabFocusReason);
            movingToDepartment_ = false;
            parentAccepted_ = checkParent();
            return true;
        }
        if (watched == edtDep_) {
            departmentAccepted_ = checkDepartment();
            if (k == Qt::Key_Tab && departmentAccepted_) enterLines();
            return true;
        }
    }
    return false;
}

// ---- line entry --------------------------------------------------------------------------

bool FrmProStru::cellLocked(int row, int col)
{
    if (!editable_) return true;
    switch (col) {
        case ColChildName:
        case ColSpec:
        case ColAuxUnit:
        case ColExchRate:
        case ColMainUnit:
        case ColPlannedPrice:
            return true;  // filled from the inventory, never typed
        case ColFree1:
        case ColFree2:
            return !ctx_.dbase || !HasFree(grid_->textMatrix(row, ColChildCode), col, *ctx_.dbase);
        case ColPieces:
            return grid_->textMatrix(row, ColExchRate).trimmed().isEmpty();
        default:
            return false;
    }
}

namespace {

// A check that reads the database (the cycle walk) meets a lost connection as a refusal with
// its message: the cell keeps what was typed, and nothing escapes into the event loop.
template <class Check>
Verdict judgedOrLost(Check&& check)
{
    try {
        return check();
    } catch (const DbError& e) {
        return Verdict::refuse(e.description());
    }
}

}  // namespace

bool FrmProStru::validateEdit(int row, int col, QString& text)
{
    validating_ = true;
    const Verdict v = judgedOrLost([&] {
        return validateCell(lookups(), *lines_, edtParent_->text(), row, col, text);
    });
    if (!v) {
        validating_ = false;
        inform(v.message);
        return false;
    }
    return true;
}

bool FrmProStru::rowLeaving(int row)
{
    if (row < 1 || row >= grid_->rows() || !editable_) return true;
    // An untouched empty last line is not a line yet: there is nothing to judge.
    if (row == grid_->rows() - 1 && lineUntouched(*lines_, row)) return true;
    const Verdict v =
        judgedOrLost([&] { return validateLine(lookups(), *lines_, edtParent_->text(), row); });
    if (!v) {
        validating_ = false;
        inform(v.message);
        return false;
    }
    return true;
}

void FrmProStru::childPicked(const QString& code)
{
    const int row = grid_->row();
    if (row < 1) return;
    // The picked code is checked exactly as if it had been typed; a refused one stays in the
    // cell's editor for correction.
    QString text = code;
    if (validateEdit(row, ColChildCode, text)) {
        grid_->setTextMatrix(row, ColChildCode, text);
        childPick_ = ReferencePick::stored();
    } else {
        childPick_ = ReferencePick::refused(code);
    }
}

void FrmProStru::enterLines()
{
    if (grid_->rows() < 2) grid_->addRow();
    if (grid_->row() < 1) grid_->setRow(1);
    grid_->setCol(ColChildCode);
    grid_->view()->setFocus(Qt::TabFocusReason);
}

ReferencePick FrmProStru::referenceRequested(int row, int col)
{
    if (row < 1 || !editable_ || cellLocked(row, col)) return {};
    RefChooser& chooser = RefChooser::current();
    Database* db = ctx_.dbase;
    switch (col) {
        case ColChildCode: {
            if (!db) return {};
            const QString typed = grid_->textMatrix(row, ColChildCode);
            auto rs =
                typed.isEmpty()
                    ? db->openRecordset(kCardInventorySql, RecordsetType::Snapshot)
                    : db->openRecordset(kCardInventorySql + kInventoryPrefixFilter,
                                        RecordsetType::Snapshot, 0, {typed + QLatin1Char('%')});
            if (!chooser.choose(*rs, text::kRefChild, productCaptions(), this)) return {};
            childPick_ = {};
            ref_->Ref3_Selected(*rs);
            return childPick_;
        }
        case ColFree1:
        case ColFree2: {
            Recordset* rs = col == ColFree1 ? ctx_.RecFree1.get() : ctx_.RecFree2.get();
            if (rs && chooser.choose(*rs, text::kRefFree, {text::kRefFreeCode, text::kRefFreeValue},
                                     this)) {
                if (col == ColFree1)
                    ref_->Refnew1_Selected(*rs);
                else
                    ref_->Refnew2_Selected(*rs);
                return ReferencePick::stored();
            }
            return {};
        }
        case ColWarehouse:
            if (lists_.warehouse &&
                chooser.choose(*lists_.warehouse, text::kRefWarehouse, warehouseCaptions(), this)) {
                ref_->Ref4_Selected(*lists_.warehouse);
                return ReferencePick::stored();
            }
            return {};
        case ColPerson:
            if (ctx_.RecPer && chooser.choose(*ctx_.RecPer, text::kRefPerson,
                                              {text::kRefPersonCode, text::kRefPersonName,
                                               text::kRefPersonDeptCode, text::kRefPersonDeptName},
                                              this)) {
                ref_->Refnew4_Selected(*ctx_.RecPer);
                return ReferencePick::stored();
            }
            return {};
        case ColDept:
            if (ctx_.RecDep && chooser.choose(*ctx_.RecDep, text::kRefUseDept,
                                              {text::kRefDeptCode, text::kRefDeptName}, this)) {
                ref_->Refnew3_Selected(*ctx_.RecDep);
                return ReferencePick::stored();
            }
            return {};
        case ColOperation:
            if (ctx_.RecCa && chooser.choose(*ctx_.RecCa, text::kRefOperation,
                                             {text::kRefOperationCode, text::kRefOperationName,
                                              text::kRefPersonDeptCode},
                                             this)) {
                ref_->Refnew5_Selected(*ctx_.RecCa);
                return ReferencePick::stored();
            }
            return {};
        default:
            return {};
    }
}

}  // namespace qx
