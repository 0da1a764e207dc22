#pragma once

// The captions of the list window's grids, with the company's terms and free-item names, so
// that the grids, the import's columns and its template say the same words.

#include <QString>
#include <QStringList>

namespace qx {

struct ListContext;

// Parent grid: code, name, producing department, specification.
QStringList parentGridCaptions(const ListContext& ctx);
// Child grid: the sixteen line columns, by line column number.
QStringList childGridCaptions(const ListContext& ctx);

}  // namespace qx
