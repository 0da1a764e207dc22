/* The floor of the list window's loading: the statements that Init and the list's loading run,
 * read to the last column of the last row through the database's own C API, in a plain process.
 *
 *   raw_read sqlite:FILE | postgresql://...     prints the rows read and the milliseconds taken
 */
#include "support/raw_reader.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: raw_read sqlite:FILE | postgresql://...\n");
        return 2;
    }
    double ms = 0;
    const long long rows = qx::bench::readRawStatements(argv[1], &ms);
    if (rows < 0) return 2;
    std::printf("rows %lld in %.1f ms\n", rows, ms);
    return 0;
}
