#include "print/scratch_database.h"

#include "platform/database.h"

#include <QDir>
#include <QFile>

namespace qx::print {

namespace {
const QString kFileName = QStringLiteral("qxinit.mdb");

// A file name that the connection string parser takes as a SQLite path whatever it holds.
QString connectionFor(const QString& path) { return QStringLiteral("sqlite:") + path; }
}  // namespace

QString scratchDatabasePath(const QString& dir) { return QDir(dir).filePath(kFileName); }

bool prepareScratchDatabase(const QString& dir, QString* error)
{
    const QString path = scratchDatabasePath(dir);
    // A previous visit's tables are never reused: the file goes, with the journal files SQLite
    // keeps beside it, before a new one is made.
    for (const QString& suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm"),
                                  QStringLiteral("-journal")}) {
        QFile f(path + suffix);
        if (f.exists() && !f.remove()) {
            if (error) *error = f.fileName() + QStringLiteral(": ") + f.errorString();
            return false;
        }
    }
    try {
        auto db = Database::open(connectionFor(path));
        // Writes the file's header, so that an empty database really exists on disk.
        db->execute(QStringLiteral("PRAGMA user_version = 1"));
    } catch (const DbError& e) {
        if (error) *error = e.description();
        return false;
    }
    return true;
}

std::unique_ptr<Database> openScratchDatabase(const QString& dir)
{
    auto db = Database::open(connectionFor(scratchDatabasePath(dir)));
    // Opening alone does not prove the file can be written (a read-only directory still lets
    // an existing file be opened); a harmless write does.
    db->execute(QStringLiteral("PRAGMA user_version = 1"));
    return db;
}

}  // namespace qx::print
