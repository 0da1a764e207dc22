#pragma once

#include <QString>

#include <stdexcept>

namespace qx {

// What went wrong in the database, as the commands need to know it to pick their message.
enum class DbErrorKind {
    RecordDeleted,     // the row is gone (someone else deleted it meanwhile)
    ConcurrentChange,  // another workstation holds the rows (busy, lock timeout, serialization)
    InUse,             // a foreign key of another table still refers to the row
    Duplicate,         // a unique key is already taken
    TooLong,           // a value is longer than its column
    ConnectionLost,    // the server went away or the company file vanished or became unreadable
    DiskFull,          // the disk (or the database's size limit) has no room for the write
    Other,             // anything else; shown with its own description
};

class DbError : public std::runtime_error {
public:
    DbError(DbErrorKind kind, const QString& description)
        : std::runtime_error(description.toStdString()), kind_(kind), description_(description)
    {
    }

    DbErrorKind kind() const { return kind_; }
    const QString& description() const { return description_; }

private:
    DbErrorKind kind_;
    QString description_;
};

}  // namespace qx
