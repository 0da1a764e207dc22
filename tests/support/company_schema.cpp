#include "data/schema.h"
#include "support/company.h"

// Kept apart from company.cpp so that a test that needs no company tables links without the
// schema.

namespace qx::test {

std::unique_ptr<Database> openFreshCompany(TestBackend backend, QString* connectionString)
{
    auto db = openFreshDatabase(backend, connectionString);
    schema::createCompany(*db);
    return db;
}

}  // namespace qx::test
