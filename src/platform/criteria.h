#pragma once

#include <QString>
#include <QVariant>

#include <vector>

namespace qx {

// One equality term of a find criterion: field = value. Field names are matched without
// regard to case; values compare exactly.
struct CriterionTerm {
    QString field;
    QVariant value;
};

// A conjunction of equality terms ("a='1' and b='2'"). Built either from values, so that a
// value is never seen as syntax, or by parsing a fixed text of the component.
class Criteria {
public:
    Criteria() = default;

    static Criteria eq(const QString& field, const QVariant& value)
    {
        Criteria c;
        c.terms_.push_back({field, value});
        return c;
    }
    Criteria& andEq(const QString& field, const QVariant& value)
    {
        terms_.push_back({field, value});
        return *this;
    }

    // Parses "cPSPCode='X'", "[cInvcode]='X'", " cPSPCode= 'X'", "a='1' and b='2'" (blanks around
    // every token allowed, "and" in any case, '' inside a quoted value stands for one quote).
    // Anything else, e.g. a lone quote inside a value, throws DbError(Other): a malformed
    // criterion never matches by accident.
    static Criteria parse(const QString& text);

    const std::vector<CriterionTerm>& terms() const { return terms_; }
    bool empty() const { return terms_.empty(); }

private:
    std::vector<CriterionTerm> terms_;
};

}  // namespace qx
