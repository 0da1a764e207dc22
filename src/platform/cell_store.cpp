#include "platform/cell_store.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qx {

namespace {

// A column stops looking its texts up (they are stored as they come) once this many differ and
// they are most of its rows: codes and names that are all different.
constexpr size_t kUniqueAfter = 4096;
bool nearlyAllDiffer(size_t distinct, size_t rows) { return distinct > kUniqueAfter && distinct * 4 > rows * 3; }

// The empty text as the drivers give it: empty, not null.
const QChar kNoChar;
QString emptyText() { return QString(&kNoChar, 0); }
constexpr int kNullText = -1;  // the type key of a text that is a null string

int widthFor(uint32_t r) { return r <= 0xFF ? 1 : r <= 0xFFFF ? 2 : 4; }

// The bits of a number, and false for anything that is no number.
bool numberBits(const QVariant& v, quint64& bits)
{
    switch (v.metaType().id()) {
        case QMetaType::Double:
            bits = std::bit_cast<quint64>(*static_cast<const double*>(v.constData()));
            return true;
        case QMetaType::LongLong:
            bits = quint64(*static_cast<const qlonglong*>(v.constData()));
            return true;
        case QMetaType::Int:
            bits = quint64(qint64(*static_cast<const int*>(v.constData())));
            return true;
        case QMetaType::Bool:
            bits = *static_cast<const bool*>(v.constData()) ? 1 : 0;
            return true;
        default:
            return false;
    }
}

const QString* textOf(const QVariant& v)
{
    return v.metaType().id() == QMetaType::QString ? static_cast<const QString*>(v.constData())
                                                   : nullptr;
}

}  // namespace

uint32_t CellColumn::ref(size_t row) const
{
    const uint8_t* p = refs_.data() + row * size_t(width_);
    switch (width_) {
        case 1:
            return p[0];
        case 2: {
            uint16_t v;
            std::memcpy(&v, p, 2);
            return v;
        }
        default: {
            uint32_t v;
            std::memcpy(&v, p, 4);
            return v;
        }
    }
}

void CellColumn::putRef(size_t row, uint32_t r)
{
    uint8_t* p = refs_.data() + row * size_t(width_);
    switch (width_) {
        case 1:
            p[0] = uint8_t(r);
            break;
        case 2: {
            const uint16_t v = uint16_t(r);
            std::memcpy(p, &v, 2);
            break;
        }
        default:
            std::memcpy(p, &r, 4);
    }
}

void CellColumn::widenFor(uint32_t r)
{
    const int need = widthFor(r);
    if (need <= width_) return;
    std::vector<uint8_t> old;
    old.swap(refs_);
    const int oldWidth = width_;
    std::vector<uint32_t> all(rows_);
    for (size_t i = 0; i < rows_; ++i) {
        const uint8_t* p = old.data() + i * size_t(oldWidth);
        uint32_t v = 0;
        if (oldWidth == 1) {
            v = p[0];
        } else {
            uint16_t w;
            std::memcpy(&w, p, 2);
            v = w;
        }
        all[i] = v;
    }
    width_ = need;
    refs_.resize(rows_ * size_t(width_));
    for (size_t i = 0; i < rows_; ++i) putRef(i, all[i]);
}

QVariant CellColumn::at(size_t row) const
{
    const uint32_t r = ref(row);
    if (r & 1) {
        const size_t i = r >> 1;
        const qsizetype n = qsizetype(starts_[i + 1] - starts_[i]);
        return n ? QString(chars_.data() + starts_[i], n) : emptyText();
    }
    return values_[r >> 1];
}

uint32_t CellColumn::addValue(const QVariant& v)
{
    values_.push_back(v);
    return uint32_t(values_.size() - 1) << 1;
}

uint32_t CellColumn::addApart(const QString& s)
{
    chars_.insert(chars_.end(), s.cbegin(), s.cend());
    starts_.push_back(uint32_t(chars_.size()));
    return (uint32_t(starts_.size() - 2) << 1) | 1;
}

bool CellColumn::sameAsRef(uint32_t r, const QVariant& v) const
{
    const QString* text = textOf(v);
    if (r & 1) {
        if (!text || v.isNull() || text->isNull()) return false;
        const size_t i = r >> 1;
        return QStringView(chars_.data() + starts_[i], qsizetype(starts_[i + 1] - starts_[i])) == *text;
    }
    const QVariant& have = values_[r >> 1];
    if (have.metaType() != v.metaType() || have.isNull() != v.isNull()) return false;
    if (v.isNull()) return true;
    if (text) {
        const QString* other = textOf(have);
        return other->isNull() == text->isNull() && *other == *text;
    }
    quint64 a = 0, b = 0;
    if (numberBits(v, a)) return numberBits(have, b) && a == b;
    return false;  // other types are kept as given, one value per cell
}

uint32_t CellColumn::intern(const QVariant& v)
{
    if (last_ != UINT32_MAX && sameAsRef(last_, v)) return last_;
    const int type = v.metaType().id();
    const QString* text = textOf(v);
    if (v.isNull() || (text && text->isNull())) {
        const int key = v.isNull() ? type : kNullText;
        for (const auto& [t, r] : nulls_)
            if (t == key) return r;
        const uint32_t r = addValue(v);
        nulls_.emplace_back(key, r);
        return r;
    }
    if (text) {
        if (unique_) return addApart(*text);
        if (const auto it = texts_.constFind(*text); it != texts_.cend()) return it.value();
        const uint32_t r = addApart(*text);
        if (!finished_) {
            texts_.insert(*text, r);
            if (nearlyAllDiffer(size_t(texts_.size()), rows_)) {
                unique_ = true;
                texts_ = {};
            }
        }
        return r;
    }
    quint64 bits = 0;
    if (numberBits(v, bits)) {
        const quint64 key = bits ^ (quint64(type) << 56);
        if (const auto it = numbers_.constFind(key); it != numbers_.cend()) {
            if (sameAsRef(it.value(), v)) return it.value();
            return addValue(v);
        }
        const uint32_t r = addValue(v);
        if (!finished_) numbers_.insert(key, r);
        return r;
    }
    return addValue(v);
}

void CellColumn::push(const QVariant& v)
{
    const uint32_t r = intern(v);
    last_ = r;
    lastIsText_ = false;
    widenFor(r);
    refs_.resize(refs_.size() + size_t(width_));
    ++rows_;
    putRef(rows_ - 1, r);
}

void CellColumn::pushText(const char* utf8, int bytes)
{
    uint32_t r = 0;
    if (lastIsText_ && lastBytes_.size() == size_t(bytes) && std::memcmp(lastBytes_.data(), utf8, size_t(bytes)) == 0) {
        r = last_;
    } else {
        const auto make = [&] { return bytes ? QString::fromUtf8(utf8, bytes) : emptyText(); };
        if (unique_) {
            r = addApart(make());
        } else {
            std::string key(utf8, size_t(bytes));
            if (const auto it = bytes_.find(key); it != bytes_.end()) {
                r = it->second;
            } else {
                r = addApart(make());
                if (!finished_) {
                    bytes_.emplace(std::move(key), r);
                    if (nearlyAllDiffer(bytes_.size(), rows_)) {
                        unique_ = true;
                        bytes_ = {};
                    }
                }
            }
        }
        lastBytes_.assign(utf8, size_t(bytes));
        lastIsText_ = true;
    }
    last_ = r;
    widenFor(r);
    refs_.resize(refs_.size() + size_t(width_));
    ++rows_;
    putRef(rows_ - 1, r);
}

void CellColumn::set(size_t row, const QVariant& v)
{
    const uint32_t r = intern(v);
    widenFor(r);
    putRef(row, r);
}

void CellColumn::finish()
{
    uint32_t most = 0;
    for (size_t i = 0; i < rows_; ++i) most = std::max(most, ref(i));
    const int need = widthFor(most);
    if (need < width_) {
        std::vector<uint32_t> all(rows_);
        for (size_t i = 0; i < rows_; ++i) all[i] = ref(i);
        width_ = need;
        refs_.assign(rows_ * size_t(width_), 0);
        for (size_t i = 0; i < rows_; ++i) putRef(i, all[i]);
    }
    refs_.shrink_to_fit();
    values_.shrink_to_fit();
    chars_.shrink_to_fit();
    starts_.shrink_to_fit();
    texts_ = {};
    numbers_ = {};
    bytes_ = {};
    lastBytes_ = {};
    lastIsText_ = false;
    finished_ = true;
}

void CellColumn::clear() { *this = CellColumn(); }

void CellStore::reset(int columns)
{
    columns_.clear();
    columns_.resize(size_t(std::max(columns, 0)));
    count_ = 0;
}

std::vector<QVariant> CellStore::row(size_t r) const
{
    std::vector<QVariant> out;
    out.reserve(columns_.size());
    for (const CellColumn& c : columns_) out.push_back(c.at(r));
    return out;
}

void CellStore::appendRow(const std::vector<QVariant>& cells)
{
    for (size_t c = 0; c < columns_.size(); ++c) columns_[c].push(cells[c]);
    ++count_;
}

void CellStore::setRow(size_t r, const std::vector<QVariant>& cells)
{
    for (size_t c = 0; c < columns_.size(); ++c) columns_[c].set(r, cells[c]);
}

void CellStore::finish()
{
    for (CellColumn& c : columns_) c.finish();
}

void CellStore::clear()
{
    columns_.clear();
    count_ = 0;
}

}  // namespace qx
