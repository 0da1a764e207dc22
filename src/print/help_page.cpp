#include "print/help_page.h"

#include "texts/texts.h"

#include <QDialog>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace qx::print {

namespace {
const QString kViewerName = QStringLiteral("QxHelpViewer");
}

QString helpPageUrl(int context, const QString& anchor)
{
    QString url = QStringLiteral("qrc:/help/") + QString::number(context) + QStringLiteral(".html");
    if (!anchor.isEmpty()) url += QLatin1Char('#') + anchor;
    return url;
}

QWidget* showHelp(QWidget* parent, int context, const QString& anchor)
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
        auto* layout = new QVBoxLayout(viewer);
        layout->addWidget(browser);
        viewer->resize(760, 600);
    }
    if (auto* browser = viewer->findChild<QTextBrowser*>(QStringLiteral("QxHelpBrowser")))
        browser->setSource(QUrl(helpPageUrl(context, anchor)));
    viewer->show();
    viewer->raise();
    viewer->activateWindow();
    return viewer;
}

}  // namespace qx::print
