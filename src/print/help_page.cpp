#include "print/help_page.h"

#include "data/texts.h"

#include <QDialog>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace qx::print {

namespace {
const QString kViewerName = QStringLiteral("QxHelpViewer");
}

QString helpPageUrl(int context)
{
    return QStringLiteral("qrc:/help/") + QString::number(context) + QStringLiteral(".html");
}

QWidget* showHelp(QWidget* parent, int context)
{
    QDialog* viewer = parent ? parent->findChild<QDialog*>(kViewerName, Qt::FindDirectChildrenOnly)
                             : nullptr;
    if (!viewer) {
        // Not modal: the operator reads the help while working in the window.
        viewer = new QDialog(parent);
        viewer->setObjectName(kViewerName);
        viewer->setAttribute(Qt::WA_DeleteOnClose);
        viewer->setWindowTitle(text::kHelp);
        auto* browser = new QTextBrowser(viewer);
        browser->setObjectName(QStringLiteral("QxHelpBrowser"));
        browser->setOpenExternalLinks(true);
        browser->setSource(QUrl(helpPageUrl(context)));
        auto* layout = new QVBoxLayout(viewer);
        layout->addWidget(browser);
        viewer->resize(760, 600);
    }
    viewer->show();
    viewer->raise();
    viewer->activateWindow();
    return viewer;
}

}  // namespace qx::print
