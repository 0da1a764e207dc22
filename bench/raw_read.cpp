/* The floor of the list window's loading: the statements that Init and the list's loading run,
 * read to the last column of the last row through the database's own C API, in a plain process.
 *
 *   raw_read [--opening] sqlite:FILE | postgresql://...
 * prints the rows read and the milliseconds taken; with --opening, only the statements whose rows
 * the opening reads (the sets the list fetches on first use left out).
 */
#include "support/raw_reader.h"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    const bool opening = argc == 3 && std::strcmp(argv[1], "--opening") == 0;
    if (argc != 2 && !opening) {
        std::fprintf(stderr, "usage: raw_read [--opening] sqlite:FILE | postgresql://...\n");
        return 2;
    }
    double ms = 0;
    const long long rows = qx::bench::readRawStatements(argv[argc - 1], &ms, opening);
    if (rows < 0) return 2;
    std::printf("rows %lld in %.1f ms\n", rows, ms);
    return 0;
}
