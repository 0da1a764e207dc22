#pragma once

// A query's rows handed over one at a time, straight from the backend's C API, for code that
// walks many rows once and keeps what it makes of them, not the rows: no recordset, no variant
// per cell, texts as the UTF-8 bytes the backend holds.

#include <QString>
#include <QVariantList>

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace qx {

class Database;
class Recordset;

// One row, valid only during the call that hands it over.
class RowView {
public:
    bool isNull(int column) const;
    // The cell as UTF-8 text (empty for NULL).
    std::string_view text(int column) const;
    // The cell as a finite number; empty for NULL and for a text that is not a number.
    std::optional<double> number(int column) const;

private:
    friend struct RowSource;
    const void* source_ = nullptr;
    int kind_ = 0;
    int row_ = 0;
    mutable std::vector<QByteArray> texts_;  // the recordset path's cells as UTF-8
};

// Runs a read-only query with bound values ("?" placeholders) and hands each row to `take`.
// `start` is called before the first row; should a backend's direct path fail on the way, the
// rows are read again through a recordset (which reports any error the usual way), after
// `start` once more, so that the caller begins afresh.
void readRows(Database& db, const QString& sql, const QVariantList& params, const std::function<void()>& start,
              const std::function<void(const RowView&)>& take);

// A value as a table keeps it once bound: NULL for a null variant and for a null text (an empty
// text stays a text).
bool isNullValue(const QVariant& value);

// The statement for libpq: "?" placeholders become $1, $2, ... (none inside quotes); empty when
// the count of placeholders is not `params`.
QByteArray postgresPlaceholders(const QString& sql, qsizetype params);

}  // namespace qx
