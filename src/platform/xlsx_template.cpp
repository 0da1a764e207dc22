#include "platform/xlsx_template.h"

#include "texts/texts.h"

#include <QFile>

#include <xlsxwriter.h>

namespace qx {

bool writeWorkbook(const QString& path, const std::vector<QStringList>& rows,
                   const WorkbookOptions& options, QString* error)
{
    lxw_workbook_options wbOptions = {};
    wbOptions.constant_memory = options.inlineStrings ? LXW_TRUE : LXW_FALSE;
    const QByteArray file = QFile::encodeName(path);
    lxw_workbook* wb = workbook_new_opt(file.constData(), &wbOptions);
    if (!wb) {
        if (error) *error = text::outputUnwritable(path);
        return false;
    }
    const QByteArray sheetName = options.sheetName.toUtf8();
    lxw_worksheet* ws =
        workbook_add_worksheet(wb, sheetName.isEmpty() ? nullptr : sheetName.constData());
    lxw_format* bold = workbook_add_format(wb);
    format_set_bold(bold);
    lxw_format* asText = workbook_add_format(wb);
    format_set_num_format(asText, "@");
    if (!rows.empty()) worksheet_set_column(ws, 0, lxw_col_t(rows[0].size()), 12, asText);
    for (size_t r = 0; r < rows.size(); ++r) {
        for (int c = 0; c < rows[r].size(); ++c) {
            const QString& cell = rows[r][c];
            if (cell.isEmpty()) continue;
            bool isNumber = false;
            const double n = cell.toDouble(&isNumber);
            if (options.numbersAsNumbers && isNumber && r > 0) {
                worksheet_write_number(ws, lxw_row_t(r), lxw_col_t(c), n, nullptr);
                continue;
            }
            const QByteArray utf8 = cell.toUtf8();
            worksheet_write_string(ws, lxw_row_t(r), lxw_col_t(c), utf8.constData(),
                                   r == 0 ? bold : asText);
        }
    }
    const lxw_error rc = workbook_close(wb);
    if (rc != LXW_NO_ERROR) {
        if (error) *error = text::outputUnwritable(path);
        return false;
    }
    return true;
}

}  // namespace qx
