#pragma once

#include <QString>

class QWidget;

namespace qx::print {

// The help context of the product-structure windows.
constexpr int kHelpContext = 31100033;

// The page shipped in the component's resources for a help context ("qrc:/help/<context>.html"),
// at the part named by `anchor` when one is given ("...html#card").
QString helpPageUrl(int context = kHelpContext, const QString& anchor = {});

// Opens the help page beside `parent` (one viewer per parent window; asked again, it is raised
// and brought to the part asked for). Returns the viewer.
QWidget* showHelp(QWidget* parent, int context = kHelpContext, const QString& anchor = {});

}  // namespace qx::print
