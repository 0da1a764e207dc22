#include "platform/qt_translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace qx {

QTranslator* installQtTranslations(QCoreApplication& app)
{
    // Owned by the application, so that it lives as long as the windows it translates.
    auto* translator = new QTranslator(&app);
    const QLocale chinese(QLocale::Chinese, QLocale::SimplifiedChineseScript, QLocale::China);
    if (!translator->load(chinese, QStringLiteral("qtbase"), QStringLiteral("_"),
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return nullptr;
    }
    QCoreApplication::installTranslator(translator);
    return translator;
}

}  // namespace qx
