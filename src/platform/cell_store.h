#pragma once

// The cells of a recordset, held compactly. Each column keeps its distinct values once and a
// reference of one to four bytes per row; texts are bare characters in one block per column,
// without an object per cell (a column whose texts nearly all differ, codes and names, stops
// looking them up). A cell reads back as exactly the value it was given (its type, its
// null-ness, its text).

#include <QHash>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qx {

class CellColumn {
public:
    size_t size() const { return rows_; }
    QVariant at(size_t row) const;
    // The characters of a text cell, without a copy; false for any other cell.
    bool textView(size_t row, QStringView& out) const
    {
        const uint32_t r = ref(row);
        if (!(r & 1)) return false;
        const size_t i = r >> 1;
        out = QStringView(chars_.data() + starts_[i], qsizetype(starts_[i + 1] - starts_[i]));
        return true;
    }
    void push(const QVariant& v);
    // A non-null text as UTF-8 bytes, straight from a driver: no text object is made for a text
    // the column already holds.
    void pushText(const char* utf8, int bytes);
    // A non-null number straight from a driver: no variant is made for a number the column
    // already holds.
    void pushInteger(qlonglong n);
    void pushInt(int n);
    void pushReal(double x);
    // A null of the given type straight from a driver.
    void pushNull(QMetaType type);
    void set(size_t row, const QVariant& v);
    // After a fetch: references as narrow as the values allow; the fetch's lookups dropped.
    void finish();
    void clear();

private:
    uint32_t intern(const QVariant& v);
    uint32_t ref(size_t row) const;
    void putRef(size_t row, uint32_t r);
    void setWidth(int width);
    void fits(uint32_t r);
    void append(uint32_t r);
    uint32_t addValue(const QVariant& v);
    uint32_t addApart(const QString& s);
    uint32_t lookUpText(const char* utf8, int bytes);
    uint32_t lookUpString(const QString& text);
    void dropLookups();
    bool sameAsRef(uint32_t r, const QVariant& v) const;
    template <typename Make>
    void pushNumber(int type, quint64 bits, Make&& make);

    std::vector<QVariant> values_;  // distinct values other than texts (reference 2*i)
    std::vector<QChar> chars_;      // texts (reference 2*i+1): chars_[starts_[i]..starts_[i+1])
    std::vector<uint32_t> starts_{0};
    mutable std::vector<QString> shared_;  // texts handed out, of a column of few texts
    std::vector<uint8_t> refs_;
    int width_ = 0;     // bytes per reference; 0: every row holds same_
    uint32_t same_ = 0;
    size_t rows_ = 0;
    bool unique_ = false;  // nearly every text differs: new texts are stored without a lookup
    bool finished_ = false;
    uint32_t last_ = UINT32_MAX;  // the reference pushed last
    std::vector<uint32_t> slots16_;  // while fetching through a driver: text numbers by their text
    size_t looked16_ = 0;
    // While fetching: the texts' UTF-8 bytes one after another, and a table of text numbers by them.
    struct TextSlot {
        uint32_t number = 0;  // text number + 1; 0: an empty slot
        uint32_t tag = 0;     // another part of the text's hash
        uint32_t from = 0;    // its bytes: utf8_[from, from + bytes)
        uint32_t bytes = 0;
    };
    std::string utf8_;
    std::vector<TextSlot> slots_;
    size_t looked8_ = 0;  // texts in slots_
    size_t found_ = 0;    // lookups that found their text
    std::string lastBytes_;                            // the bytes of the text pushed last
    bool lastIsText_ = false;
    bool lastIsNumber_ = false;
    quint64 lastNumberKey_ = 0;  // the key of the number pushed last
    int lastNull_ = 0;           // the type id + 1 of the null pushed last, 0 when it was no null
    QHash<quint64, uint32_t> numbers_;
    std::vector<std::pair<int, uint32_t>> nulls_;  // per type of null: its value
};

class CellStore {
public:
    void reset(int columns);
    size_t rows() const { return columns_.empty() ? count_ : columns_.front().size(); }
    int columns() const { return int(columns_.size()); }
    QVariant at(size_t row, int col) const { return columns_[size_t(col)].at(row); }
    bool textView(size_t row, int col, QStringView& out) const { return columns_[size_t(col)].textView(row, out); }
    std::vector<QVariant> row(size_t r) const;
    void push(int col, const QVariant& v) { columns_[size_t(col)].push(v); }
    void pushText(int col, const char* utf8, int bytes) { columns_[size_t(col)].pushText(utf8, bytes); }
    void pushInteger(int col, qlonglong n) { columns_[size_t(col)].pushInteger(n); }
    void pushReal(int col, double x) { columns_[size_t(col)].pushReal(x); }
    void pushInt(int col, int n) { columns_[size_t(col)].pushInt(n); }
    void pushNull(int col, QMetaType type) { columns_[size_t(col)].pushNull(type); }
    void endRow() { ++count_; }
    void appendRow(const std::vector<QVariant>& cells);
    void setRow(size_t r, const std::vector<QVariant>& cells);
    void finish();
    void clear();

private:
    std::vector<CellColumn> columns_;
    size_t count_ = 0;  // rows of a store without columns
};

}  // namespace qx
