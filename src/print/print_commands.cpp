#include "print/print_commands.h"

#include "texts/texts.h"
#include "platform/database.h"
#include "platform/print_control.h"
#include "platform/prompter.h"
#include "print/csv_output.h"
#include "print/layout_table.h"
#include "print/scratch_database.h"

#include <QFile>
#include <QPrinter>

namespace qx::print {

namespace {

void tell(const QString& message) { Prompter::current().inform(message, text::kTitle); }
void unexpected() { Prompter::current().inform(text::kPrintUnexpected, text::kPrintErrorTitle); }

PagePainter painterFor(const PrintJob& job)
{
    return [&job](QPrinter& printer) { return paintPages(printer, job); };
}

// Two runs in the same second draw their numbers independently; when they coincide, the next
// draw is taken instead of writing into the other run's table.
QString createFreshTable(Database& scratch)
{
    constexpr int kAttempts = 20;
    for (int i = 0;; ++i) {
        const QString name = newLayoutTableName();
        if (scratch.tableExists(name) && i < kAttempts) continue;
        createLayoutTable(scratch, name);
        return name;
    }
}

}  // namespace

std::optional<PrintJob> prepareJob(const PrintSource& source, const QString& dir,
                                   QString* tableName)
{
    const std::vector<LayoutRow> rows = headRows(source.head);
    std::unique_ptr<Database> scratch;
    QString name;
    try {
        scratch = openScratchDatabase(dir);
        name = createFreshTable(*scratch);
    } catch (const DbError&) {
        tell(text::scratchUnwritable(scratchDatabasePath(dir)));
        return std::nullopt;
    }
    if (tableName) *tableName = name;

    PrintJob job;
    try {
        writeLayoutRows(*scratch, name, rows);
        job.layout = readLayoutTable(*scratch, name);
    } catch (const LayoutRefused&) {
        unexpected();
        return std::nullopt;
    } catch (const DbError&) {
        unexpected();
        return std::nullopt;
    }
    job.columns = source.columns;
    job.lines = source.lines;
    return job;
}

bool writePdf(const QString& file, const PrintJob& job)
{
    // Tried first, so that a place that cannot take the file is a plain "no" rather than a
    // painter that fails half-way (and a warning from the printing system on the console).
    {
        QFile probe(file);
        if (!probe.open(QIODevice::WriteOnly)) return false;
    }
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(file);
    pdf.setCreator(text::kProStru);
    return paintPages(pdf, job) > 0;
}

bool printStructure(const PrintSource& source, const QString& dir, QWidget*)
{
    PrintControl& control = PrintControl::current();
    if (!control.hasPrinter()) {
        tell(text::kNoDefaultPrinter);
        return false;
    }
    const auto job = prepareJob(source, dir);
    if (!job) return false;
    if (!control.print(painterFor(*job))) {
        tell(text::kPrintFailed);
        return false;
    }
    return true;
}

bool previewStructure(const PrintSource& source, const QString& dir, QWidget* parent)
{
    const auto job = prepareJob(source, dir);
    if (!job) return false;
    if (!PrintControl::current().preview(painterFor(*job), parent)) {
        tell(text::kBadPrintSetup);
        return false;
    }
    return true;
}

bool outputStructure(const PrintSource& source, const QString& dir, QWidget* parent)
{
    const auto job = prepareJob(source, dir);
    if (!job) return false;
    const QString file = PrintControl::current().chooseOutputFile(parent);
    if (file.isEmpty()) return false;
    const bool ok = file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive)
                        ? writeCsv(file, *job)
                        : writePdf(file, *job);
    if (!ok) tell(text::outputUnwritable(file));
    return ok;
}

void printSetup(QWidget* parent) { PrintControl::current().setup(parent); }

}  // namespace qx::print
