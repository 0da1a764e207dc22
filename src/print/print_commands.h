#pragma once

#include "print/page_painter.h"
#include "print/print_source.h"

#include <QString>

#include <optional>

class QWidget;

namespace qx::print {

// The flows behind "Butprint", "Butpre", "Butout" and "Butsetup". Each run writes the page's
// layout table into the scratch database of `dir` (the data directory) and paints from what it
// reads back. Every failure is told to the user through the Prompter and leaves the list as it
// was; the result says whether the run went through.

// Without a printer: " 没有默认打印机，请安装打印机后再试一次！" and nothing else happens.
bool printStructure(const PrintSource& source, const QString& dir, QWidget* parent);
bool previewStructure(const PrintSource& source, const QString& dir, QWidget* parent);
// Asks for a file; a name ending in ".csv" gets the CSV output, any other the PDF page.
bool outputStructure(const PrintSource& source, const QString& dir, QWidget* parent);
void printSetup(QWidget* parent);

// Writes the layout table of one run and reads it back with the lines. Empty after a message:
// the scratch database cannot be written, a value holds "'" ("意外错误，请稍后再试一次." with
// the title "提示!"), or the rows could not be written.
std::optional<PrintJob> prepareJob(const PrintSource& source, const QString& dir,
                                   QString* tableName = nullptr);

// The page as a PDF file; false when the file cannot be written.
bool writePdf(const QString& file, const PrintJob& job);

}  // namespace qx::print
