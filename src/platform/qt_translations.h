#pragma once

class QCoreApplication;
class QTranslator;

namespace qx {

// Loads Qt's own Simplified Chinese texts (message-box buttons, print, preview and file dialogs,
// the edit fields' context menus) into the application, so that nothing the user sees is in
// English. Called once at start-up, after the application object exists. Returns the installed
// translator (owned by app), or nullptr when Qt's translation file (qtbase_zh_CN.qm, Debian
// package qt6-translations-l10n) cannot be loaded; the windows then work with Qt's built-in
// English texts.
QTranslator* installQtTranslations(QCoreApplication& app);

}  // namespace qx
