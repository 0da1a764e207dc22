#include "platform/print_control.h"

#include "texts/texts.h"

#include <QDir>
#include <QFileDialog>
#include <QPageSetupDialog>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>

namespace qx {

namespace {
PrintControl* installed = nullptr;

int paintToPdf(const PagePainter& paint, const QString& file)
{
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(file);
    return paint(pdf);
}
}  // namespace

PrintControl& PrintControl::current()
{
    static QtPrintControl real;
    return installed ? *installed : real;
}

void PrintControl::install(PrintControl* c) { installed = c; }

QtPrintControl::QtPrintControl() = default;
QtPrintControl::~QtPrintControl() = default;

QPrinter& QtPrintControl::printer()
{
    // Made on first use: a QPrinter needs the application object, which may not exist yet when
    // the control itself is created.
    if (!printer_) {
        QPrinterInfo info = QPrinterInfo::defaultPrinter();
        if (info.isNull() && !QPrinterInfo::availablePrinters().isEmpty())
            info = QPrinterInfo::availablePrinters().first();
        printer_ = info.isNull() ? std::make_unique<QPrinter>(QPrinter::HighResolution)
                                 : std::make_unique<QPrinter>(info, QPrinter::HighResolution);
    }
    return *printer_;
}

bool QtPrintControl::hasPrinter()
{
    return !QPrinterInfo::defaultPrinter().isNull() || !QPrinterInfo::availablePrinters().isEmpty();
}

bool QtPrintControl::print(const PagePainter& paint)
{
    QPrinter& p = printer();
    // A previous preview or set-up may have left the printer writing to a file.
    p.setOutputFormat(QPrinter::NativeFormat);
    p.setOutputFileName(QString());
    return paint(p) > 0;
}

bool QtPrintControl::preview(const PagePainter& paint, QWidget* parent)
{
    QPrintPreviewDialog dialog(&printer(), parent);
    dialog.setWindowTitle(text::kTipPreview);
    int pages = 0;
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested,
                     [&](QPrinter* p) { pages = paint(*p); });
    dialog.exec();
    return pages > 0;
}

QString QtPrintControl::chooseOutputFile(QWidget* parent)
{
    QString selected;
    QString file = QFileDialog::getSaveFileName(parent, text::kTipOutput, QDir::homePath(),
                                                text::kOutputFilter, &selected);
    if (file.isEmpty()) return file;
    // The filter chosen decides the kind when the name has no suffix of its own.
    if (!file.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive) &&
        !file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive))
        file += selected.contains(QLatin1String("*.csv")) ? QStringLiteral(".csv")
                                                          : QStringLiteral(".pdf");
    return file;
}

void QtPrintControl::setup(QWidget* parent)
{
    if (hasPrinter()) {
        QPrintDialog dialog(&printer(), parent);
        dialog.setWindowTitle(text::kTipSetup);
        dialog.exec();
    } else {
        QPageSetupDialog dialog(&printer(), parent);
        dialog.setWindowTitle(text::kTipSetup);
        dialog.exec();
    }
}

ScriptedPrintControl::ScriptedPrintControl(const QString& dir) : directory(dir) { install(this); }
ScriptedPrintControl::~ScriptedPrintControl() { install(nullptr); }

bool ScriptedPrintControl::print(const PagePainter& paint)
{
    int pages = paintToPdf(paint, QDir(directory).filePath(QStringLiteral("print.pdf")));
    printedPages.push_back(pages);
    return pages > 0;
}

bool ScriptedPrintControl::preview(const PagePainter& paint, QWidget*)
{
    int pages = paintToPdf(paint, QDir(directory).filePath(QStringLiteral("preview.pdf")));
    previewPages.push_back(pages);
    return pages > 0;
}

}  // namespace qx
