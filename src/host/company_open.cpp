#include "host/company_open.h"

#include "data/schema.h"
#include "platform/lock_service.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace qx {

OpenedCompany openCompany(const QString& connection, bool readOnly)
{
    OpenOptions options;
    options.create = false;
    options.readOnly = readOnly;
    if (readOnly) return {Database::open(connection, options), false};

    OpenOptions reading = options;
    reading.readOnly = true;
    std::unique_ptr<Database> db;
    try {
        db = Database::open(connection, options);
    } catch (const DbError& refused) {
        // A file that may be read but not written cannot even be opened for writing (its
        // journal mode cannot be set). When reading fails as well, the first reason stands.
        try {
            return {Database::open(connection, reading), true};
        } catch (const DbError&) {
            throw refused;
        }
    }
    // The tables the component writes: the structures and the record locks.
    if (db->canWrite({QStringLiteral("ProductStructure"), QStringLiteral("ProductStructures"),
                      LockService::tableName()}))
        return {std::move(db), false};
    db.reset();
    return {Database::open(connection, reading), true};
}

QString defaultDemoCompany(bool* created)
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty()) base = QDir::home().filePath(QStringLiteral(".local/share"));
    const QString dir = QDir(base).filePath(QStringLiteral("qxprostru"));
    const QString path = QDir(dir).filePath(QStringLiteral("demo-company.db"));
    const QString connection = QStringLiteral("sqlite:") + path;
    if (created) *created = false;
    if (!QFileInfo::exists(path)) {
        QDir().mkpath(dir);
        auto db = Database::open(connection);
        schema::createDemoCompany(*db);
        if (created) *created = true;
    }
    return connection;
}

}  // namespace qx
