#pragma once

#include <QString>

namespace qx {

class Database;

// The names the company gave its free items (UserDefItem rows "20" and "21"). Where nothing is
// configured the items keep their built-in names "自由项1" and "自由项2"; those names tell the
// list that a free item is not in use.
class OwnDefService {
public:
    explicit OwnDefService(Database& db) : db_(db) {}

    // "20" -> free item 1, "21" -> free item 2; any other id gives an empty text.
    QString name(const QString& id);

private:
    Database& db_;
};

}  // namespace qx
