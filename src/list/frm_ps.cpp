#include "list/frm_ps.h"

#include "texts/texts.h"
#include "platform/grid.h"
#include "platform/prompter.h"

#include <QCloseEvent>
#include <QCursor>
#include <QEventLoop>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QTableView>
#include <QTimer>
#include <QToolBar>

#include <cmath>

namespace qx {

namespace {

// Fixed places of the controls above the grids, in twips.
constexpr double kLabelTop = 660;
constexpr double kLabelHeight = 240;
constexpr double kGridTop = kHeadHeight;
constexpr double kBarWidth = 60;
constexpr int kInitialWidthTwips = 16800;
constexpr int kInitialHeightTwips = 9600;
// A lock the database was too busy to free is tried again after 1 s, then ever more rarely.
constexpr int kFirstLockRetryMs = 1000;
constexpr int kLastLockRetryMs = 60000;

// The bar's own pointer: a two-headed arrow across a double line.
QCursor barCursor()
{
    QPixmap pm(32, 32);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(Qt::black, 2));
    p.drawLine(14, 6, 14, 26);
    p.drawLine(18, 6, 18, 26);
    p.drawLine(3, 16, 29, 16);
    const QPointF left[] = {{3, 16}, {8, 11}, {8, 21}};
    const QPointF right[] = {{29, 16}, {24, 11}, {24, 21}};
    p.setBrush(Qt::black);
    p.drawPolygon(left, 3);
    p.drawPolygon(right, 3);
    p.end();
    return QCursor(pm, 16, 16);
}

int px(double twips, const QWidget* w)
{
    return twipsToPixels(static_cast<int>(std::lround(twips)), w);
}

}  // namespace

FrmPS::FrmPS(QWidget* parent) : QWidget(parent), locks_(nullptr, QString())
{
    setObjectName(QStringLiteral("FrmPS"));
    setWindowTitle(text::kProStru);

    tlbPS_ = new QToolBar(this);
    tlbPS_->setObjectName(QStringLiteral("TlbPS"));
    tlbPS_->setMovable(false);
    tlbPS_->setFloatable(false);
    tlbPS_->setIconSize(QSize(20, 20));
    tlbPS_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);

    label2_ = new QLabel(this);
    label2_->setObjectName(QStringLiteral("Label2"));

    supPS1_ = new Grid(this);
    supPS1_->setObjectName(QStringLiteral("SupPS1"));
    supPS2_ = new Grid(this);
    supPS2_->setObjectName(QStringLiteral("SupPS2"));

    picPS_ = new QWidget(this);
    picPS_->setObjectName(QStringLiteral("PicPS"));
    picPS_->setAutoFillBackground(true);
    picPS_->setCursor(barCursor());
    customBarCursor_ = true;
    picPS_->installEventFilter(this);

    layout_.parentGrid = {0, kGridTop, 0, 0};
    layout_.bar = {0, kGridTop, kBarWidth, 0};
    layout_.childGrid = {0, kGridTop, 0, 0};
    layout_.label2 = {0, kLabelTop, 4000, kLabelHeight};

    createActions();

    connect(supPS1_, &Grid::currentRowChanged, this, &FrmPS::onParentRowChanged);
    connect(supPS1_, &Grid::cellDoubleClicked, this, [this](int row, int) {
        if (supPS1_->row() != 0 && row != 0) Fedit();
    });
    connect(supPS1_, &Grid::mousePressed, this, &FrmPS::onParentPressed);
    connect(supPS2_, &Grid::mousePressed, this, &FrmPS::onChildPressed);
    connect(supPS2_, &Grid::cellDoubleClicked, this, &FrmPS::onChildDoubleClicked);

    installKeyHandler(this);

    lockRetry_ = new QTimer(this);
    lockRetry_->setSingleShot(true);
    lockRetry_->setInterval(kFirstLockRetryMs);
    connect(lockRetry_, &QTimer::timeout, this, &FrmPS::retryLockRelease);

    resize(px(kInitialWidthTwips, this), px(kInitialHeightTwips, this));
    layoutForSize(pixelsToTwips(width(), this), pixelsToTwips(height(), this));
}

FrmPS::~FrmPS() = default;

void FrmPS::setDatabase(Database* db)
{
    ctx_.dbase = db;
    locks_.setDatabase(db);
}

void FrmPS::setReadOnly(bool readOnly, bool unwritable)
{
    ctx_.readOnly = readOnly;
    ctx_.unwritable = unwritable;
    // Read-only: nothing may be added, deleted, copied, imported or replaced; edit will open the
    // card for viewing.
    for (const char* key : {"ButAdd", "ButDelete", "ButCopy", "ButImport", "ButReplace"})
        if (QAction* a = action(QString::fromLatin1(key))) a->setEnabled(!readOnly);
}

void FrmPS::setRecordsets(Recordset* parent, Recordset* child, Recordset* joined)
{
    ctx_.parentRecords = parent;
    ctx_.childRecords = child;
    ctx_.joinedRecords = joined;
}

void FrmPS::showModal()
{
    setWindowModality(Qt::ApplicationModal);
    QEventLoop loop;
    connect(this, &FrmPS::closed, &loop, &QEventLoop::quit);
    show();
    if (isVisible()) loop.exec();
}

void FrmPS::showEvent(QShowEvent* event)
{
    if (!loaded_) load();
    QWidget::showEvent(event);
    // The parent grid is the active control when the window opens.
    supPS1_->view()->setFocus();
}

void FrmPS::closeEvent(QCloseEvent* event)
{
    // Unloading lets go of the window's caches in this order and asks nothing. Every lock this
    // window still holds is given back.
    lockRetry_->stop();
    locks_.releaseAll();
    ctx_.childRecords = nullptr;
    ctx_.parentRecords = nullptr;
    ctx_.inventory2.reset();
    ctx_.RecDep.reset();
    ctx_.RecFree1.reset();
    ctx_.RecFree2.reset();
    ctx_.RecPer.reset();
    ctx_.RecCa.reset();
    ctx_.inventory.reset();
    loaded_ = false;
    event->accept();
    emit closed();
}

FrmPS::LockingCommand::LockingCommand(FrmPS& w) : w_(w)
{
    ++w_.lockingCommands_;
}

FrmPS::LockingCommand::~LockingCommand()
{
    if (--w_.lockingCommands_ > 0) return;  // the command around this one releases
    w_.locks_.releaseAll();
    if (w_.locks_.holdsAny()) w_.lockRetry_->start();
}

void FrmPS::retryLockRelease()
{
    // A command under way (its card open, its question on the screen) keeps what it holds.
    if (lockingCommands_ == 0) locks_.releaseAll();
    if (!locks_.holdsAny()) {
        lockRetry_->setInterval(kFirstLockRetryMs);
        return;
    }
    lockRetry_->setInterval(std::min(lockRetry_->interval() * 2, kLastLockRetryMs));
    lockRetry_->start();
}

QString FrmPS::activeControlName() const
{
    const QWidget* f = focusWidget();
    if (!f) return {};
    if (f == supPS1_ || supPS1_->isAncestorOf(f)) return QStringLiteral("SupPS1");
    if (f == supPS2_ || supPS2_->isAncestorOf(f)) return QStringLiteral("SupPS2");
    return {};
}

// ---- splitter and resizing ----

void FrmPS::layoutForSize(double innerWidthTwips, double innerHeightTwips)
{
    if (resizeLayout(layout_, innerWidthTwips, innerHeightTwips)) applyLayout();
}

void FrmPS::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    tlbPS_->setGeometry(0, 0, width(), std::min(tlbPS_->sizeHint().height(), px(kLabelTop, this)));
    layoutForSize(pixelsToTwips(width(), this), pixelsToTwips(height(), this));
}

void FrmPS::applyLayout()
{
    auto place = [this](QWidget* w, const TwipsRect& r) {
        w->setGeometry(px(r.left, this), px(r.top, this), std::max(0, px(r.width, this)),
                       std::max(0, px(r.height, this)));
    };
    place(supPS1_, layout_.parentGrid);
    place(picPS_, layout_.bar);
    place(supPS2_, layout_.childGrid);
    label2_->move(px(layout_.label2.left, this), px(layout_.label2.top, this));
    label2_->resize(std::max(0, px(layout_.childGrid.width, this)), px(kLabelHeight, this));
}

bool FrmPS::barEvent(QEvent* event)
{
    switch (event->type()) {
        case QEvent::MouseButtonPress:
            picPS_->setCursor(barCursor());
            customBarCursor_ = true;
            dragging_ = true;
            return true;
        case QEvent::MouseMove: {
            if (!customBarCursor_ || !dragging_) return false;
            auto* me = static_cast<QMouseEvent*>(event);
            const double x = pixelsToTwips(static_cast<int>(std::lround(me->position().x())), this);
            if (dragBar(layout_, x, pixelsToTwips(width(), this)))
                picPS_->move(px(layout_.bar.left, this), picPS_->y());
            return true;
        }
        case QEvent::MouseButtonRelease:
            dragging_ = false;
            if (dropBar(layout_, pixelsToTwips(width(), this), pixelsToTwips(width(), this)))
                applyLayout();
            return true;
        default:
            return false;
    }
}

bool FrmPS::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == picPS_) {
        if (barEvent(event)) return true;
    }
    if (event->type() == QEvent::KeyPress) {
        auto* w = qobject_cast<QWidget*>(watched);
        // The window previews the keys of its own controls only (not those of a card above it).
        if (w && w->window() == this && handleKey(static_cast<QKeyEvent*>(event))) return true;
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace qx
