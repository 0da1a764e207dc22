#include "platform/grid_view.h"

#include "platform/grid_model.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>

namespace qx {

namespace {

bool isNavigationKey(int key)
{
    switch (key) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
        case Qt::Key_Home:
        case Qt::Key_End:
            return true;
        default:
            return false;
    }
}

// Keys a line edit owns while it edits, even with Ctrl held.
bool isEditingShortcut(int key)
{
    switch (key) {
        case Qt::Key_A:
        case Qt::Key_C:
        case Qt::Key_V:
        case Qt::Key_X:
        case Qt::Key_Z:
        case Qt::Key_Y:
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_Home:
        case Qt::Key_End:
        case Qt::Key_Backspace:
        case Qt::Key_Delete:
            return true;
        default:
            return false;
    }
}

constexpr int kButtonWidth = 18;

}  // namespace

// ---------------------------------------------------------------- heading

GridHeader::GridHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent)
{
    setSectionsClickable(false);
    setHighlightSections(false);
}

void GridHeader::mousePressEvent(QMouseEvent* e)
{
    const int x = e->position().toPoint().x();
    const int col = logicalIndexAt(x);
    bool onHandle = false;
    if (col >= 0) {
        // A press on a section's edge starts a resize; it is not a press on the heading text.
        const int left = sectionViewportPosition(col);
        const int right = left + sectionSize(col);
        onHandle = (x - left < 4 && visualIndex(col) > 0) || right - x < 4;
    }
    QHeaderView::mousePressEvent(e);
    if (col >= 0 && !onHandle) emit pressed(col, e->button());
}

// ---------------------------------------------------------------- delegate

GridDelegate::GridDelegate(GridView* view) : QStyledItemDelegate(view), view_(view) {}

QWidget* GridDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                    const QModelIndex& index) const
{
    auto* le = new QLineEdit(parent);
    le->setFrame(false);
    const GridModel* m = view_->gridModel();
    if (m->validCol(index.column())) {
        const GridColumn& c = m->column(index.column());
        if (c.maxLength > 0) le->setMaxLength(c.maxLength);
        le->setAlignment(GridModel::toQt(m->cellAlignment(index.row(), index.column())));
    }
    le->installEventFilter(view_);
    lastEditor = le;
    return le;
}

void GridDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    if (auto* le = qobject_cast<QLineEdit*>(editor))
        le->setText(index.data(Qt::EditRole).toString());
}

void GridDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    const QRect r = view_->buttonRect(index);
    if (r.isEmpty()) return;
    QStyleOptionButton b;
    b.rect = r;
    b.text = QStringLiteral("...");
    b.state = QStyle::State_Enabled | QStyle::State_Raised;
    view_->style()->drawControl(QStyle::CE_PushButton, &b, painter, view_);
}

// ---------------------------------------------------------------- view

GridView::GridView(GridModel* model, QWidget* parent) : QTableView(parent), model_(model)
{
    setHorizontalHeader(new GridHeader(this));
    setModel(model_);
    setItemDelegate(new GridDelegate(this));
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setSortingEnabled(false);
    setWordWrap(false);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
}

bool GridView::editing() const
{
    return editor_ && editIndex_.isValid() && state() == EditingState;
}

QRect GridView::buttonRect(const QModelIndex& index) const
{
    if (!model_->editable() || !index.isValid() || index != currentIndex()) return {};
    if (!model_->validCol(index.column()) || !model_->column(index.column()).button) return {};
    if (editor_ && editIndex_ == index) return {};
    const QRect cell = visualRect(index);
    const int w = std::min(kButtonWidth, cell.width() / 2);
    if (w <= 0) return {};
    return QRect(cell.right() - w + 1, cell.top(), w, cell.height());
}

bool GridView::isWindowKey(const QKeyEvent* e, bool editing)
{
    const int key = e->key();
    if (key == Qt::Key_Control || key == Qt::Key_Shift || key == Qt::Key_Alt || key == Qt::Key_Meta)
        return false;
    const auto mods = e->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35) return key != Qt::Key_F2;
    if (mods) {
        if (isNavigationKey(key)) return false;
        if (editing && mods == Qt::ControlModifier && isEditingShortcut(key)) return false;
        return true;
    }
    if (!editing && (key == Qt::Key_Delete || key == Qt::Key_Escape || key == Qt::Key_Insert))
        return true;
    return false;
}

bool GridView::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event)
{
    if (trigger != AllEditTriggers && !(editTriggers() & trigger))
        return QTableView::edit(index, trigger, event);
    if (!index.isValid() || !model_->editable() || editing()) return false;
    if (isColumnHidden(index.column())) return false;
    if (handler_ && handler_->cellLocked(index.row() + 1, index.column())) return false;
    return QTableView::edit(index, trigger, event);
}

bool GridView::openEditor(const QModelIndex& index, const QString* initial)
{
    if (!index.isValid() || editing()) return false;
    if (currentIndex() != index) {
        if (!mayMoveTo(index)) return false;
        setCurrentIndex(index);
    }
    scrollTo(index);
    editIndex_ = index;
    if (!edit(index, AllEditTriggers, nullptr)) {
        editIndex_ = QPersistentModelIndex();
        return false;
    }
    editor_ = static_cast<GridDelegate*>(itemDelegate())->lastEditor;
    if (!editor_) return false;
    if (initial) {
        editor_->setText(*initial);
        editor_->deselect();
        editor_->end(false);
    }
    editor_->setFocus(Qt::OtherFocusReason);
    viewport()->update();
    return true;
}

bool GridView::commitEditor()
{
    if (!editing()) return true;
    if (validating_) return false;
    QString text = editor_->text();
    const int row = editIndex_.row();
    const int col = editIndex_.column();
    bool ok = true;
    validating_ = true;
    if (handler_) ok = handler_->validateEdit(row + 1, col, text);
    validating_ = false;
    if (!editor_ || !editIndex_.isValid()) return ok;  // the row went away meanwhile
    if (!ok) {
        // The user must put the cell right before going anywhere else.
        editor_->setFocus(Qt::OtherFocusReason);
        return false;
    }
    model_->setText(editIndex_.row(), col, text);
    closeOpenEditor();
    return true;
}

void GridView::cancelEditor()
{
    if (editor_) closeOpenEditor();
    editIndex_ = QPersistentModelIndex();
}

void GridView::closeOpenEditor()
{
    QWidget* w = editor_;
    closing_ = true;
    if (w) QTableView::closeEditor(w, QAbstractItemDelegate::NoHint);
    closing_ = false;
    editor_ = nullptr;
    editIndex_ = QPersistentModelIndex();
    viewport()->update();
}

void GridView::commitData(QWidget*)
{
    // Edits are stored only through commitEditor(), which asks the handler first.
}

void GridView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint)
{
    if (closing_) {
        QTableView::closeEditor(editor, hint);
        return;
    }
    // Someone else (a programmatic move of the current cell) closes the editor: the typed text
    // is dropped, the cell keeps its value.
    if (editor == editor_) {
        closeOpenEditor();
        return;
    }
    QTableView::closeEditor(editor, hint);
}

bool GridView::mayMoveTo(const QModelIndex& target)
{
    if (!target.isValid()) return true;
    if (editing() && target != QModelIndex(editIndex_) && !commitEditor()) return false;
    const QModelIndex cur = currentIndex();
    if (handler_ && cur.isValid() && target.row() != cur.row() &&
        !handler_->rowLeaving(cur.row() + 1))
        return false;
    return true;
}

void GridView::moveTo(const QModelIndex& target)
{
    if (!target.isValid() || !mayMoveTo(target)) return;
    setCurrentIndex(target);
    scrollTo(target);
}

void GridView::moveAcross(int step)
{
    const QModelIndex cur = currentIndex();
    if (!cur.isValid()) return;
    const int cols = model_->columnCount();
    int row = cur.row();
    int col = cur.column();
    for (;;) {
        col += step;
        if (col >= cols) {
            if (row + 1 >= model_->rowCount()) return;
            ++row;
            col = 0;
        } else if (col < 0) {
            if (row == 0) return;
            --row;
            col = cols - 1;
        }
        if (!isColumnHidden(col) && columnWidth(col) > 0) break;
    }
    moveTo(model_->index(row, col));
}

ReferencePick GridView::askReference(const QModelIndex& index)
{
    if (!handler_ || !index.isValid() || !model_->editable()) return {};
    if (handler_->cellLocked(index.row() + 1, index.column())) return {};
    return handler_->referenceRequested(index.row() + 1, index.column());
}

void GridView::requestReference(const QModelIndex& index)
{
    const QPersistentModelIndex idx = index;
    const ReferencePick pick = askReference(index);
    if (pick.outcome == ReferencePick::Outcome::Refused && idx.isValid())
        openEditor(idx, &pick.text);
}

bool GridView::editorKey(QKeyEvent* e)
{
    if (isWindowKey(e, true)) {
        // Forwarded to the view, whose key handling passes it on to the window.
        QKeyEvent copy(e->type(), e->key(), e->modifiers(), e->text(), e->isAutoRepeat(),
                       e->count());
        QCoreApplication::sendEvent(this, &copy);
        return true;
    }
    switch (e->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Tab:
            if (commitEditor()) moveAcross(1);
            return true;
        case Qt::Key_Backtab:
            if (commitEditor()) moveAcross(-1);
            return true;
        case Qt::Key_Escape:
            cancelEditor();
            return true;
        case Qt::Key_Up:
        case Qt::Key_Down: {
            const QModelIndex cur = currentIndex();
            const int row = cur.row() + (e->key() == Qt::Key_Up ? -1 : 1);
            if (commitEditor() && row >= 0 && row < model_->rowCount())
                moveTo(model_->index(row, cur.column()));
            return true;
        }
        case Qt::Key_F2: {
            if (!handler_) return true;
            // The lookup starts from what was typed. A pick is judged as if typed, even when it
            // equals the typed text; when nothing is picked, the typing goes on; a refused pick
            // stays in the editor. Either way the cell keeps its old value until a pick is stored.
            const QPersistentModelIndex idx = editIndex_;
            const QString typed = editor_->text();
            const QString old = model_->text(idx.row(), idx.column());
            model_->setText(idx.row(), idx.column(), typed);
            closeOpenEditor();
            const ReferencePick pick = askReference(idx);
            if (!idx.isValid() || pick.outcome == ReferencePick::Outcome::Stored) return true;
            model_->setText(idx.row(), idx.column(), old);
            openEditor(idx, pick.outcome == ReferencePick::Outcome::Refused ? &pick.text : &typed);
            return true;
        }
        default:
            return false;
    }
}

bool GridView::eventFilter(QObject* watched, QEvent* event)
{
    if (!editor_ || watched != editor_) return QTableView::eventFilter(watched, event);
    switch (event->type()) {
        case QEvent::ShortcutOverride:
            // Left unaccepted, so that a window shortcut on the key still fires.
            if (isWindowKey(static_cast<QKeyEvent*>(event), true)) return true;
            break;
        case QEvent::KeyPress:
            return editorKey(static_cast<QKeyEvent*>(event));
        case QEvent::FocusOut: {
            if (validating_ || closing_) break;
            // Focus gone to another window (a message box, a lookup) keeps the editor as it is.
            QWidget* to = QApplication::focusWidget();
            if (!to || to->window() != window()) break;
            // A click into the grid itself is judged by the press, once.
            if (to == this || to == viewport()) break;
            for (QWidget* w = to; w; w = w->parentWidget())
                if (w == editor_) return false;
            commitEditor();
            break;
        }
        default:
            break;
    }
    return QTableView::eventFilter(watched, event);
}

void GridView::keyPressEvent(QKeyEvent* e)
{
    if (isWindowKey(e, false)) {
        e->ignore();
        return;
    }
    const int key = e->key();
    const bool editable = model_->editable();
    if (!editable && (key == Qt::Key_Return || key == Qt::Key_Enter)) {
        e->ignore();
        return;
    }
    if (editable) {
        switch (key) {
            case Qt::Key_F2:
                requestReference(currentIndex());
                return;
            case Qt::Key_Return:
            case Qt::Key_Enter:
            case Qt::Key_Tab:
                moveAcross(1);
                return;
            case Qt::Key_Backtab:
                moveAcross(-1);
                return;
            default:
                break;
        }
        const QString t = e->text();
        if (!t.isEmpty() && t.at(0).isPrint() && currentIndex().isValid()) {
            openEditor(currentIndex(), &t);
            return;
        }
    }
    if (isNavigationKey(key)) {
        const QModelIndex target = moveCursor(
            [key]() {
                switch (key) {
                    case Qt::Key_Up:
                        return MoveUp;
                    case Qt::Key_Down:
                        return MoveDown;
                    case Qt::Key_Left:
                        return MoveLeft;
                    case Qt::Key_Right:
                        return MoveRight;
                    case Qt::Key_PageUp:
                        return MovePageUp;
                    case Qt::Key_PageDown:
                        return MovePageDown;
                    case Qt::Key_Home:
                        return MoveHome;
                    default:
                        return MoveEnd;
                }
            }(),
            e->modifiers());
        if (target.isValid() && !mayMoveTo(target)) return;
    }
    QTableView::keyPressEvent(e);
}

void GridView::mousePressEvent(QMouseEvent* e)
{
    const QModelIndex index = indexAt(e->position().toPoint());
    if (editing() && index != QModelIndex(editIndex_) && !commitEditor()) return;
    if (index.isValid() && e->button() == Qt::LeftButton &&
        buttonRect(index).contains(e->position().toPoint())) {
        requestReference(index);
        emit pressed(index.row() + 1, index.column(), e->button());
        return;
    }
    const QModelIndex cur = currentIndex();
    if (index.isValid() && cur.isValid() && index.row() != cur.row() && !mayMoveTo(index)) return;
    QTableView::mousePressEvent(e);
    if (index.isValid())
        emit pressed(index.row() + 1, index.column(), e->button());
    else
        emit pressed(-1, -1, e->button());
}

void GridView::mouseMoveEvent(QMouseEvent* e)
{
    // No drag-selection: the current row only moves by a press, under the handler's eye.
    if (e->buttons() != Qt::NoButton) return;
    QTableView::mouseMoveEvent(e);
}

void GridView::mouseDoubleClickEvent(QMouseEvent* e)
{
    if (editing()) return;
    QTableView::mouseDoubleClickEvent(e);
}

}  // namespace qx
