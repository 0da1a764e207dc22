#include "platform/xlsx_writer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <xlsxwriter.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace qx {

struct XlsxWriter::Impl {
    QString path;
    QString temp;
    lxw_workbook* book = nullptr;
    std::vector<lxw_worksheet*> sheets;
    std::map<int, lxw_format*> numberFormats;
    lxw_format* heading = nullptr;
    bool failed = false;
    QString error;

    lxw_worksheet* sheet(int i) { return i >= 0 && i < int(sheets.size()) ? sheets[size_t(i)] : nullptr; }
    void check(lxw_error e)
    {
        if (e != LXW_NO_ERROR && !failed) {
            failed = true;
            error = QString::fromUtf8(lxw_strerror(e));
        }
    }
    lxw_format* numberFormat(int decimals)
    {
        auto it = numberFormats.find(decimals);
        if (it != numberFormats.end()) return it->second;
        lxw_format* f = workbook_add_format(book);
        if (decimals >= 0) {
            const QByteArray pattern =
                decimals == 0 ? QByteArray("0") : QByteArray("0.") + QByteArray(decimals, '0');
            format_set_num_format(f, pattern.constData());
        }
        numberFormats.emplace(decimals, f);
        return f;
    }
};

XlsxWriter::XlsxWriter(const QString& path) : d(std::make_unique<Impl>())
{
    d->path = path;
    const QFileInfo target(path);
    // The temporary name is reserved in the target's own directory, so that the rename at the
    // end stays on one file system and replaces the target in one step.
    QTemporaryFile reserve(target.absoluteDir().filePath(target.fileName() + QStringLiteral(".XXXXXX")));
    reserve.setAutoRemove(false);
    if (!reserve.open()) {
        d->error = reserve.errorString();
        return;
    }
    d->temp = reserve.fileName();
    reserve.close();
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    d->book = workbook_new_opt(QFile::encodeName(d->temp).constData(), &options);
    if (!d->book) {
        d->error = QStringLiteral("workbook");
        QFile::remove(d->temp);
        return;
    }
    d->heading = workbook_add_format(d->book);
    format_set_bold(d->heading);
}

XlsxWriter::~XlsxWriter()
{
    if (d->book) {
        // libxlsxwriter frees the workbook only through close, which writes it: it is written
        // to the temporary name and removed.
        workbook_close(d->book);
        d->book = nullptr;
    }
    if (!d->temp.isEmpty()) QFile::remove(d->temp);
}

bool XlsxWriter::isOpen() const { return d->book != nullptr; }

int XlsxWriter::addSheet(const QString& name)
{
    if (!d->book) return -1;
    lxw_worksheet* s = workbook_add_worksheet(d->book, name.toUtf8().constData());
    if (!s) {
        d->failed = true;
        d->error = name;
        return -1;
    }
    d->sheets.push_back(s);
    return int(d->sheets.size()) - 1;
}

void XlsxWriter::setColumnWidth(int sheet, int col, double characters)
{
    if (lxw_worksheet* s = d->sheet(sheet))
        d->check(worksheet_set_column(s, lxw_col_t(col), lxw_col_t(col), characters, nullptr));
}

void XlsxWriter::setRowLevel(int sheet, int row, int level)
{
    lxw_worksheet* s = d->sheet(sheet);
    if (!s) return;
    lxw_row_col_options o{};
    o.level = uint8_t(std::clamp(level, 0, kMaxOutlineLevel));
    d->check(worksheet_set_row_opt(s, lxw_row_t(row), LXW_DEF_ROW_HEIGHT, nullptr, &o));
}

void XlsxWriter::writeHeading(int sheet, int row, int col, const QString& text)
{
    if (lxw_worksheet* s = d->sheet(sheet))
        d->check(worksheet_write_string(s, lxw_row_t(row), lxw_col_t(col), text.toUtf8().constData(), d->heading));
}

void XlsxWriter::writeText(int sheet, int row, int col, const QString& text)
{
    lxw_worksheet* s = d->sheet(sheet);
    if (!s || text.isEmpty()) return;
    d->check(worksheet_write_string(s, lxw_row_t(row), lxw_col_t(col), text.toUtf8().constData(), nullptr));
}

void XlsxWriter::writeNumber(int sheet, int row, int col, double value, int decimals)
{
    if (lxw_worksheet* s = d->sheet(sheet))
        d->check(worksheet_write_number(s, lxw_row_t(row), lxw_col_t(col), value, d->numberFormat(decimals)));
}

bool XlsxWriter::commit(QString* error)
{
    auto fail = [&](const QString& why) {
        if (error) *error = why;
        if (!d->temp.isEmpty()) QFile::remove(d->temp);
        d->temp.clear();
        return false;
    };
    if (!d->book) return fail(d->error);
    const lxw_error closed = workbook_close(d->book);
    d->book = nullptr;
    if (d->failed) return fail(d->error);
    if (closed != LXW_NO_ERROR) return fail(QString::fromUtf8(lxw_strerror(closed)));
    if (std::rename(QFile::encodeName(d->temp).constData(), QFile::encodeName(d->path).constData()) != 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    d->temp.clear();
    return true;
}

}  // namespace qx
