#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QPrinter;
class QWidget;

namespace qx {

// Paints every page of a document onto the printer it is given (starting its own QPainter,
// calling newPage between pages). Returns the number of pages painted; 0 when the printer
// could not be painted on.
using PagePainter = std::function<int(QPrinter&)>;

// The print control: what the print, preview, output and setup commands ask of the printing
// system. The real one drives QPrinter and Qt's print dialogs; tests install a scripted one.
class PrintControl {
public:
    virtual ~PrintControl() = default;

    // True when the machine has a printer to print on (a default one or any installed one).
    virtual bool hasPrinter() = 0;
    // Prints on the session's printer settings; false when nothing could be printed.
    virtual bool print(const PagePainter& paint) = 0;
    // Shows the pages in a modal preview; false when the preview could not be painted.
    virtual bool preview(const PagePainter& paint, QWidget* parent) = 0;
    // Asks for the file to write the output to (PDF or CSV); an empty text when cancelled.
    virtual QString chooseOutputFile(QWidget* parent) = 0;
    // The printer (or, without one, the page) set-up dialog; settings kept for the session.
    virtual void setup(QWidget* parent) = 0;

    static PrintControl& current();
    // Installs c (not owned) or, with nullptr, restores the real control.
    static void install(PrintControl* c);
};

// The real control over Qt's print support. The printer settings live as long as the process,
// so that a set-up made once holds for every later print and preview.
class QtPrintControl : public PrintControl {
public:
    QtPrintControl();
    ~QtPrintControl() override;
    bool hasPrinter() override;
    bool print(const PagePainter& paint) override;
    bool preview(const PagePainter& paint, QWidget* parent) override;
    QString chooseOutputFile(QWidget* parent) override;
    void setup(QWidget* parent) override;

private:
    QPrinter& printer();
    std::unique_ptr<QPrinter> printer_;
};

// For tests: no dialog is shown. Print and preview paint into PDF files in `directory`
// (print.pdf, preview.pdf) and record the page counts; the output file is `outputFile`.
class ScriptedPrintControl : public PrintControl {
public:
    explicit ScriptedPrintControl(const QString& directory);
    ~ScriptedPrintControl() override;

    bool hasPrinter() override { return printerInstalled; }
    bool print(const PagePainter& paint) override;
    bool preview(const PagePainter& paint, QWidget* parent) override;
    QString chooseOutputFile(QWidget*) override
    {
        ++fileQuestions;
        return outputFile;
    }
    void setup(QWidget*) override { ++setups; }

    bool printerInstalled = true;
    QString outputFile;
    QString directory;
    std::vector<int> printedPages;   // pages of each print
    std::vector<int> previewPages;   // pages of each preview
    int fileQuestions = 0;
    int setups = 0;
};

}  // namespace qx
