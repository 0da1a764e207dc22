#include "platform/cell_store.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qx {

namespace {

// Empties a container and gives its memory back (assigning {} would keep the capacity).
template <typename T>
void release(T& c)
{
    T().swap(c);
}

// A column stops looking its texts up (they are stored as they come) once this many differ and
// they are most of its rows: codes and names that are all different. (Fewer distinct texts than
// this are looked up whatever their order, so that a column of codes repeated in no particular
// order still holds each of them once.)
constexpr size_t kUniqueAfter = 65536;
constexpr size_t kSharedTexts = 256;
bool nearlyAllDiffer(size_t distinct, size_t rows) { return distinct > kUniqueAfter && distinct * 4 > rows * 3; }
// A column whose lookups have found next to nothing among thousands of texts (its repeats, if
// any, come one after another, as in a column the rows are sorted by) stops looking them up too:
// a repeat in a row is still kept once without a lookup.
constexpr size_t kFewRepeatsAfter = 16384;
bool lookupsFindNothing(size_t distinct, size_t found) { return distinct > kFewRepeatsAfter && found * 32 < distinct; }

// The empty text as the drivers give it: empty, not null.
const QChar kNoChar;
QString emptyText() { return QString(&kNoChar, 0); }
constexpr int kNullText = -1;  // the type key of a text that is a null string

int widthFor(uint32_t r) { return r <= 0xFF ? 1 : r <= 0xFFFF ? 2 : r <= 0xFFFFFF ? 3 : 4; }

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

namespace {

uint32_t readRef(const uint8_t* refs, int width, size_t row)
{
    const uint8_t* p = refs + row * size_t(width);
    if (width == 1) return p[0];
    if (width == 2) {
        uint16_t v;
        std::memcpy(&v, p, 2);
        return v;
    }
    if (width == 3) return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

}  // namespace

uint32_t CellColumn::ref(size_t row) const
{
    return width_ == 0 ? same_ : readRef(refs_.data(), width_, row);
}

void CellColumn::putRef(size_t row, uint32_t r)
{
    uint8_t* p = refs_.data() + row * size_t(width_);
    switch (width_) {
        case 0:
            break;  // every row holds same_ (fits() saw to that)
        case 1:
            p[0] = uint8_t(r);
            break;
        case 2: {
            const uint16_t v = uint16_t(r);
            std::memcpy(p, &v, 2);
            break;
        }
        case 3:  // a column of tens of thousands of codes or names
            p[0] = uint8_t(r);
            p[1] = uint8_t(r >> 8);
            p[2] = uint8_t(r >> 16);
            break;
        default:
            std::memcpy(p, &r, 4);
    }
}

void CellColumn::setWidth(int width)
{
    if (width == width_) return;
    std::vector<uint8_t> old;
    old.swap(refs_);
    const int oldWidth = width_;
    const uint32_t oldSame = same_;
    width_ = width;
    refs_.assign(rows_ * size_t(width_), 0);
    for (size_t i = 0; i < rows_; ++i) putRef(i, oldWidth == 0 ? oldSame : readRef(old.data(), oldWidth, i));
}

void CellColumn::fits(uint32_t r)
{
    if (width_ == 0) {
        if (rows_ == 0) same_ = r;
        if (r == same_) return;
        setWidth(std::max(widthFor(r), widthFor(same_)));
        return;
    }
    if (widthFor(r) > width_) setWidth(widthFor(r));
}

QVariant CellColumn::at(size_t row) const
{
    const uint32_t r = ref(row);
    if (r & 1) {
        const size_t i = r >> 1;
        const qsizetype n = qsizetype(starts_[i + 1] - starts_[i]);
        if (!n) return emptyText();
        // A column of few texts (units, departments, warehouses) hands out one shared string per
        // text, so that the grids showing it hold no copy of their own.
        if (width_ <= 1 && i < kSharedTexts) {
            if (shared_.size() <= i) shared_.resize(std::min(starts_.size() - 1, kSharedTexts));
            if (shared_[i].isNull()) shared_[i] = QString(chars_.data() + starts_[i], n);
            return shared_[i];
        }
        return QString(chars_.data() + starts_[i], n);
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
    if (text) return lookUpString(*text);
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
    lastIsNumber_ = false;
    lastNull_ = 0;
    append(r);
}

template <typename Make>
void CellColumn::pushNumber(int type, quint64 bits, Make&& make)
{
    // Keyed as intern() keys numbers, so that both find the same values; a number equal to the
    // one before it makes no variant.
    const quint64 key = bits ^ (quint64(type) << 56);
    if (!(lastIsNumber_ && lastNumberKey_ == key)) {
        last_ = intern(make());
        lastIsText_ = false;
        lastIsNumber_ = true;
        lastNull_ = 0;
        lastNumberKey_ = key;
    }
    append(last_);
}

void CellColumn::pushInteger(qlonglong n)
{
    pushNumber(QMetaType::LongLong, quint64(n), [n] { return QVariant(n); });
}

void CellColumn::pushInt(int n)
{
    pushNumber(QMetaType::Int, quint64(qint64(n)), [n] { return QVariant(n); });
}

void CellColumn::pushReal(double x)
{
    pushNumber(QMetaType::Double, std::bit_cast<quint64>(x), [x] { return QVariant(x); });
}

void CellColumn::pushNull(QMetaType type)
{
    // A run of nulls of one type (a column left empty) finds its value without a lookup.
    if (lastNull_ == type.id() + 1 && last_ != UINT32_MAX) {
        append(last_);
        return;
    }
    push(QVariant(type));
    lastNull_ = type.id() + 1;
}

uint32_t CellColumn::lookUpString(const QString& text)
{
    // A driver's texts are looked up among the column's own characters; the table holds text
    // numbers (ref >> 1), valid while every text of the column went through here.
    if (unique_ || finished_ || looked16_ != starts_.size() - 1) return addApart(text);
    if (slots16_.empty()) slots16_.assign(1024, 0);
    size_t mask = slots16_.size() - 1;
    const auto viewOf = [&](uint32_t i) {
        return QStringView(chars_.data() + starts_[i], qsizetype(starts_[i + 1] - starts_[i]));
    };
    size_t h = qHash(QStringView(text)) & mask;
    for (; slots16_[h]; h = (h + 1) & mask) {
        if (viewOf(slots16_[h] - 1) == text) {
            ++found_;
            return ((slots16_[h] - 1) << 1) | 1;
        }
    }
    const uint32_t r = addApart(text);
    ++looked16_;
    slots16_[h] = (r >> 1) + 1;
    if (nearlyAllDiffer(looked16_, rows_) || lookupsFindNothing(looked16_, found_)) {
        unique_ = true;
        dropLookups();
    } else if (looked16_ * 2 > slots16_.size()) {
        slots16_.assign(slots16_.size() * 2, 0);
        mask = slots16_.size() - 1;
        for (uint32_t i = 0; i < looked16_; ++i) {
            size_t k = qHash(viewOf(i)) & mask;
            while (slots16_[k]) k = (k + 1) & mask;
            slots16_[k] = i + 1;
        }
    }
    return r;
}

uint32_t CellColumn::lookUpText(const char* utf8, int bytes)
{
    const auto make = [&] { return bytes ? QString::fromUtf8(utf8, bytes) : emptyText(); };
    // Texts are looked up by their bytes, so that a repeated one makes no text object. Each slot
    // holds where its text's bytes are and a second part of its hash: a probe that meets another
    // text mostly tells from the slot alone, and a hit reads the slot and the bytes only. Valid
    // while every text of the column went through here.
    if (unique_ || looked8_ != starts_.size() - 1) return addApart(make());
    if (slots_.empty()) slots_.assign(1024, TextSlot{});
    size_t mask = slots_.size() - 1;
    const size_t hash = qHashBits(utf8, size_t(bytes));
    const uint32_t tag = uint32_t(quint64(hash) >> 32) ^ uint32_t(bytes);
    size_t h = hash & mask;
    for (; slots_[h].number; h = (h + 1) & mask) {
        const TextSlot& slot = slots_[h];
        if (slot.tag == tag && slot.bytes == uint32_t(bytes) &&
            (bytes == 0 || std::memcmp(utf8_.data() + slot.from, utf8, size_t(bytes)) == 0)) {
            ++found_;
            return ((slot.number - 1) << 1) | 1;
        }
    }
    const uint32_t r = addApart(make());
    slots_[h] = TextSlot{(r >> 1) + 1, tag, uint32_t(utf8_.size()), uint32_t(bytes)};
    utf8_.append(utf8, size_t(bytes));
    ++looked8_;
    if (nearlyAllDiffer(looked8_, rows_) || lookupsFindNothing(looked8_, found_)) {
        unique_ = true;
        dropLookups();
    } else if (looked8_ * 2 > slots_.size()) {
        std::vector<TextSlot> old(slots_.size() * 2);
        old.swap(slots_);
        mask = slots_.size() - 1;
        for (const TextSlot& slot : old) {
            if (!slot.number) continue;
            size_t k = qHashBits(utf8_.data() + slot.from, slot.bytes) & mask;
            while (slots_[k].number) k = (k + 1) & mask;
            slots_[k] = slot;
        }
    }
    return r;
}

void CellColumn::dropLookups()
{
    release(slots16_);
    release(numbers_);
    release(utf8_);
    release(slots_);
    looked8_ = SIZE_MAX;  // texts pushed from now on are stored without a lookup
}

void CellColumn::pushText(const char* utf8, int bytes)
{
    uint32_t r = last_;
    if (!(lastIsText_ && lastBytes_.size() == size_t(bytes) &&
          std::memcmp(lastBytes_.data(), utf8, size_t(bytes)) == 0)) {
        r = lookUpText(utf8, bytes);
        lastBytes_.assign(utf8, size_t(bytes));
        lastIsText_ = true;
        lastIsNumber_ = false;
        lastNull_ = 0;
    }
    last_ = r;
    append(r);
}

void CellColumn::set(size_t row, const QVariant& v)
{
    const uint32_t r = intern(v);
    if (width_ == 0 && r != same_) setWidth(std::max(widthFor(r), widthFor(same_)));
    else if (widthFor(r) > width_) setWidth(widthFor(r));
    putRef(row, r);
}

void CellColumn::append(uint32_t r)
{
    fits(r);
    // The references grow by doubling, not by a cell at a time; finish() cuts them to size.
    const size_t used = (rows_ + 1) * size_t(width_);
    if (used > refs_.size()) refs_.resize(std::max(used, refs_.size() * 2));
    ++rows_;
    putRef(rows_ - 1, r);
}

void CellColumn::finish()
{
    // As narrow as the references allow: none at all when every row holds the same value.
    if (width_ > 0 && rows_ > 0) {
        uint32_t most = 0;
        bool allSame = true;
        const uint32_t first = ref(0);
        for (size_t i = 0; i < rows_; ++i) {
            const uint32_t r = ref(i);
            most = std::max(most, r);
            allSame = allSame && r == first;
        }
        if (allSame) {
            release(refs_);
            width_ = 0;
            same_ = first;
        } else {
            setWidth(widthFor(most));
        }
    }
    if (width_ > 0) refs_.resize(rows_ * size_t(width_));
    refs_.shrink_to_fit();
    values_.shrink_to_fit();
    chars_.shrink_to_fit();
    starts_.shrink_to_fit();
    dropLookups();
    release(lastBytes_);
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
