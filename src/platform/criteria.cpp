#include "platform/criteria.h"

#include "texts/texts.h"
#include "platform/db_error.h"

namespace qx {
namespace {

// One pass over the text; a quoted value is read once and never looked at as syntax again.
class CriteriaParser {
public:
    explicit CriteriaParser(const QString& text) : s_(text) {}

    Criteria parse()
    {
        Criteria c;
        skipBlanks();
        for (;;) {
            const QString field = readField();
            skipBlanks();
            if (!take(QLatin1Char('='))) fail();
            skipBlanks();
            const QVariant value = readValue();
            c.andEq(field, value);
            const qsizetype before = i_;
            skipBlanks();
            if (atEnd()) break;
            // "and" must stand apart from what precedes it when that is a bare number.
            if (!readAnd(before != i_)) fail();
            skipBlanks();
        }
        return c;
    }

private:
    bool atEnd() const { return i_ >= s_.size(); }
    QChar peek() const { return atEnd() ? QChar() : s_.at(i_); }
    bool take(QChar c)
    {
        if (peek() != c || atEnd()) return false;
        ++i_;
        return true;
    }
    void skipBlanks()
    {
        while (!atEnd() && s_.at(i_).isSpace()) ++i_;
    }
    static bool isNameChar(QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_'); }

    [[noreturn]] void fail() const { throw DbError(DbErrorKind::Other, text::badCriterion(s_)); }

    QString readField()
    {
        if (take(QLatin1Char('['))) {
            const qsizetype start = i_;
            while (!atEnd() && s_.at(i_) != QLatin1Char(']')) ++i_;
            if (atEnd()) fail();
            QString name = s_.mid(start, i_ - start).trimmed();
            ++i_;
            if (name.isEmpty()) fail();
            return name;
        }
        const qsizetype start = i_;
        while (!atEnd() && isNameChar(s_.at(i_))) ++i_;
        if (i_ == start) fail();
        return s_.mid(start, i_ - start);
    }

    QVariant readValue()
    {
        if (take(QLatin1Char('\''))) {
            QString value;
            for (;;) {
                if (atEnd()) fail();  // unterminated
                const QChar c = s_.at(i_++);
                if (c != QLatin1Char('\'')) {
                    value += c;
                    continue;
                }
                if (take(QLatin1Char('\''))) {
                    value += QLatin1Char('\'');
                    continue;
                }
                return value;
            }
        }
        // A bare number ("iSeq=3").
        const qsizetype start = i_;
        if (peek() == QLatin1Char('-') || peek() == QLatin1Char('+')) ++i_;
        while (!atEnd() && (s_.at(i_).isDigit() || s_.at(i_) == QLatin1Char('.'))) ++i_;
        bool ok = false;
        const double d = s_.mid(start, i_ - start).toDouble(&ok);
        if (!ok || (!atEnd() && isNameChar(s_.at(i_)))) fail();
        return d;
    }

    bool readAnd(bool blankBefore)
    {
        if (!blankBefore && s_.at(i_ - 1) != QLatin1Char('\'')) return false;
        if (s_.mid(i_, 3).compare(QLatin1String("and"), Qt::CaseInsensitive) != 0) return false;
        i_ += 3;
        // "andb='1'" is no conjunction; a blank or a bracket must follow.
        return !atEnd() && (s_.at(i_).isSpace() || s_.at(i_) == QLatin1Char('['));
    }

    const QString& s_;
    qsizetype i_ = 0;
};

}  // namespace

Criteria Criteria::parse(const QString& text)
{
    return CriteriaParser(text).parse();
}

}  // namespace qx
