#include "platform/ref_dialog.h"

#include "platform/database.h"
#include "platform/ref_dialog_widget.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QTableView>
#include <QVBoxLayout>

namespace qx {

namespace {

RefDialogChooser& dialogChooser()
{
    static RefDialogChooser chooser;
    return chooser;
}

RefChooser* installed = nullptr;

QString shown(const QVariant& v)
{
    return v.isNull() ? QString() : v.toString();
}

}  // namespace

RefChooser& RefChooser::current()
{
    return installed ? *installed : dialogChooser();
}

void RefChooser::install(RefChooser* chooser)
{
    installed = chooser;
}

RefDialog::RefDialog(Recordset& rs, const QString& title, const QStringList& captions,
                     QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(title);
    setModal(true);

    const int cols = std::min<int>(static_cast<int>(captions.size()), rs.fieldCount());
    const int rows = rs.recordCount();
    model_ = new QStandardItemModel(rows, cols, this);
    model_->setHorizontalHeaderLabels(captions.mid(0, cols));
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            auto* item = new QStandardItem(shown(rs.value(r, c)));
            item->setEditable(false);
            if (c == 0) item->setData(r, Qt::UserRole);
            model_->setItem(r, c, item);
        }
    }

    proxy_ = new QSortFilterProxyModel(this);
    proxy_->setSourceModel(model_);
    proxy_->setFilterKeyColumn(-1);  // any shown column
    proxy_->setFilterCaseSensitivity(Qt::CaseInsensitive);

    filter_ = new QLineEdit(this);
    table_ = new QTableView(this);
    table_->setModel(proxy_);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->verticalHeader()->hide();
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->setTabKeyNavigation(false);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(filter_);
    layout->addWidget(table_);
    resize(560, 400);

    connect(filter_, &QLineEdit::textChanged, this, &RefDialog::filterChanged);
    connect(table_, &QAbstractItemView::doubleClicked, this, [this] { pick(); });
    filter_->installEventFilter(this);
    table_->installEventFilter(this);
    if (proxy_->rowCount() > 0) table_->selectRow(0);
    filter_->setFocus();
}

int RefDialog::shownRows() const
{
    return proxy_->rowCount();
}

int RefDialog::currentSourceRow() const
{
    const QModelIndex cur = table_->currentIndex();
    if (!cur.isValid()) return -1;
    return proxy_->mapToSource(cur).row();
}

void RefDialog::filterChanged(const QString& text)
{
    proxy_->setFilterFixedString(text);
    // The first match is the one Enter takes.
    if (proxy_->rowCount() > 0) table_->selectRow(0);
}

void RefDialog::pick()
{
    const int row = currentSourceRow();
    if (row < 0) return;
    picked_ = row;
    accept();
}

bool RefDialog::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        auto* ke = static_cast<QKeyEvent*>(event);
        switch (ke->key()) {
            case Qt::Key_Return:
            case Qt::Key_Enter:
                pick();
                return true;
            case Qt::Key_Up:
            case Qt::Key_Down:
            case Qt::Key_PageUp:
            case Qt::Key_PageDown:
                // Typing stays in the filter while the arrows walk the list.
                if (watched == filter_) {
                    QCoreApplication::sendEvent(table_, event);
                    return true;
                }
                break;
            default:
                break;
        }
    }
    return QDialog::eventFilter(watched, event);
}

std::optional<int> RefDialogChooser::choose(Recordset& rs, const QString& title,
                                            const QStringList& captions, QWidget* parent)
{
    RefDialog dialog(rs, title, captions, parent);
    if (dialog.exec() != QDialog::Accepted || dialog.picked() < 0) return std::nullopt;
    rs.setAbsolutePosition(dialog.picked());
    return dialog.picked();
}

std::optional<int> ScriptedRefChooser::choose(Recordset& rs, const QString& title,
                                              const QStringList& captions, QWidget*)
{
    lastTitle = title;
    lastCaptions = captions;
    lastRowCount = rs.recordCount();
    if (pickCode.isEmpty()) return std::nullopt;
    for (int r = 0; r < lastRowCount; ++r) {
        if (shown(rs.value(r, 0)) == pickCode) {
            rs.setAbsolutePosition(r);
            return r;
        }
    }
    return std::nullopt;
}

}  // namespace qx
