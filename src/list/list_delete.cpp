// FrmPS: deleting a whole structure (parent grid) or one of its lines (child grid).

#include "list/list_delete.h"

#include "texts/texts.h"
#include "list/frm_ps.h"
#include "platform/database.h"
#include "platform/grid.h"
#include "platform/prompter.h"

#include <QLabel>

namespace qx {

namespace {

void tell(const QString& message) { Prompter::current().inform(message, text::kTitle); }

bool askYes(const QString& question)
{
    return Prompter::current().ask(question, text::kTitle, Prompter::Icon::Information);
}

QString trimLeft(const QString& s)
{
    int i = 0;
    while (i < s.size() && s.at(i) == QLatin1Char(' ')) ++i;
    return s.mid(i);
}

QString trimRight(const QString& s)
{
    int n = s.size();
    while (n > 0 && s.at(n - 1) == QLatin1Char(' ')) --n;
    return s.left(n);
}

}  // namespace

bool BeUsed(const QString& code, Recordset& rs, Database& db)
{
    const Criteria onCode = Criteria::eq(QStringLiteral("cpspCode"), code);
    try {
        Transaction trial(db);
        db.execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {code});
        rs.findFirst(onCode);
        // A header that is no longer there cannot be deleted either: the trial fails as the
        // deletion of a row without a current record would.
        if (rs.noMatch()) throw DbError(DbErrorKind::RecordDeleted, code);
        rs.deleteCurrent();
        // Never kept: the trial only asks whether the database would let it happen.
        trial.rollback();
        rs.requery();
        rs.findFirst(onCode);
        return false;
    } catch (const DbError& e) {
        db.rollback();
        if (e.kind() == DbErrorKind::ConnectionLost) throw;  // not an answer either way
        // The set saw its row go inside the trial; read it again so that it matches the table.
        try {
            rs.requery();
            rs.findFirst(onCode);
        } catch (const DbError&) {
        }
        return true;
    }
}

void FrmPS::FDelete()
{
    if (!ctx_.dbase || !ctx_.mrecPro || !ctx_.mrecPros) return;
    Database& db = *ctx_.dbase;
    Recordset& mrecPro = *ctx_.mrecPro;
    Recordset& mrecPros = *ctx_.mrecPros;
    const QString& term = ctx_.sProStru;
    // Whatever this command is granted is given back on every way out, after the messages.
    const LockingCommand command(*this);

    try {
        // The checks below must see what other operators did since the lists were filled.
        mrecPro.requery();
        mrecPros.requery();
        const QString control = activeControlName();

        if (control == QLatin1String("SupPS1")) {
            if (supPS1_->rows() == 1) return;
            const int row = supPS1_->row();
            const QString code = trimLeft(supPS1_->textMatrix(row, ParentColCode));
            const QString name = supPS1_->textMatrix(row, ParentColName);
            if (!locks_.lockOrRefuse(code, KeyTrim::Both, LockPurpose::DeleteStructure, term))
                return;
            // Gone since the list was filled: there is nothing left to delete.
            mrecPro.findFirst(Criteria::eq(QStringLiteral("cPSPCode"), code));
            if (mrecPro.noMatch()) throw DbError(DbErrorKind::RecordDeleted, code);
            if (BeUsed(code, mrecPro, db)) {
                tell(text::usedCannotDelete(term));
                locks_.unlockRecord();
                return;
            }
            if (!askYes(text::askDeleteStructure(supPS1_->textMatrix(row, ParentColCode), name))) {
                locks_.unlockRecord();
                return;
            }
            const QString trimmed = code.trimmed();
            retryOnceOnLostConnection(db, [&] {
                Transaction t(db);
                // Lines first, so that the header never leaves lines without their parent.
                db.execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"),
                           {trimmed});
                if (db.execute(QStringLiteral("delete from ProductStructure where cPSPCode=?"),
                               {trimmed}) == 0)
                    throw DbError(DbErrorKind::RecordDeleted, trimmed);
                t.commit();
            });
            // The grids follow the deletion without a reload.
            if (supPS1_->rows() == 2) {
                supPS1_->setRows(1);
                label2_->clear();  // no parent left to name
            } else {
                supPS1_->removeRow(row);
                supPS1_->setRow(std::min(row, supPS1_->rows() - 1));
            }
            supPS2_->setRows(1);
            if (supPS1_->rows() >= 2)
                Ffliter(trimLeft(supPS1_->textMatrix(supPS1_->row(), ParentColCode)));
            locks_.unlockRecord();
        } else if (control == QLatin1String("SupPS2")) {
            // A structure keeps at least one line: the last goes only with the whole structure.
            if (supPS2_->rows() == 2) {
                tell(text::kLastLineRefused);
                return;
            }
            const QString parent = trimLeft(supPS1_->textMatrix(supPS1_->row(), ParentColCode));
            if (!locks_.lockOrRefuse(parent, KeyTrim::Both, LockPurpose::DeleteLine, term)) return;
            if (supPS2_->rows() == 1) {
                locks_.unlockRecord();
                return;
            }
            const int line = supPS2_->row();
            const QString child = supPS2_->textMatrix(line, 0);
            // A child that is a parent in its own right: its structure must not be in use.
            mrecPro.findFirst(Criteria::eq(QStringLiteral("cPSPCode"), trimLeft(child)));
            if (!mrecPro.noMatch() && BeUsed(parent, mrecPro, db)) {
                tell(text::usedWithLowerLevels(term));
                locks_.unlockRecord();
                return;
            }
            if (!askYes(text::askDeleteLine(child, supPS2_->textMatrix(line, 1)))) {
                locks_.unlockRecord();
                return;
            }
            retryOnceOnLostConnection(db, [&] {
                Transaction t(db);
                mrecPros.findFirst(Criteria::eq(QStringLiteral("cpspCode"), trimRight(parent))
                                       .andEq(QStringLiteral("cpscode"), trimRight(child)));
                if (!mrecPros.noMatch()) {
                    mrecPros.deleteCurrent();
                    t.commit();
                    supPS2_->removeRow(line);
                } else {
                    // Nothing matched, nothing was deleted; the transaction still ends here.
                    t.commit();
                }
            });
            locks_.unlockRecord();
        } else {
            locks_.unlockRecord();
        }
    } catch (const DbError& e) {
        // The transaction guards have already rolled back; the grids were not touched. The lock
        // goes with `release`, on this way out as on every other.
        db.rollback();
        switch (e.kind()) {
        case DbErrorKind::RecordDeleted:
            tell(text::kRecordDeleted);
            break;
        case DbErrorKind::ConcurrentChange:
            tell(text::kConcurrentChange);
            break;
        case DbErrorKind::InUse:
            tell(text::inUseCannotDelete(term));
            break;
        default:
            tell(e.description());
            break;
        }
    }
}

}  // namespace qx
