// SPDX-License-Identifier: LGPL-2.1-or-later
// Light and dark colours of the windows, and their language.
#include "ktAppearance.h"

#include "ktStudioPreferences.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QTranslator>

/// The texts are in a static library, whose resources no static object registers.
static void registerTexts() {
#ifdef KT_HAS_TRANSLATIONS
    Q_INIT_RESOURCE(translations);
#endif
}

namespace {

QPalette darkPalette() {
    QPalette palette(QColor(0x35, 0x37, 0x3a), QColor(0x2b, 0x2d, 0x30));
    palette.setColor(QPalette::Base, QColor(0x3a, 0x3d, 0x41)); // lighter than the window, so that check boxes are seen
    palette.setColor(QPalette::AlternateBase, QColor(0x40, 0x43, 0x48));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x7e, 0xb8));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x6c, 0xb2, 0xf0));
    palette.setColor(QPalette::ToolTipBase, QColor(0x3f, 0x42, 0x46));
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, QColor(0xaa, 0xad, 0xb1));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, QColor(0xe6, 0xe8, 0xea));
        palette.setColor(QPalette::Disabled, role, QColor(0x83, 0x87, 0x8c));
    }
    return palette;
}

} // namespace

void ktAppearance::setColors(const QString& name) {
    static const QString desktopStyle = QApplication::style()->objectName();
    const bool isChosen = name == "light" || name == "dark";
    QApplication::setStyle(QStyleFactory::create(isChosen ? "Fusion" : desktopStyle));
    QApplication::setPalette(name == "dark"    ? darkPalette()
                             : name == "light" ? QPalette(QColor(0xef, 0xef, 0xef))
                                               : QApplication::style()->standardPalette());
}

QString ktAppearance::setLanguage(const QString& language) {
    // Never destroyed: the application object refers to them until its end.
    static auto &own = *new QTranslator, &qt = *new QTranslator;
    QCoreApplication::removeTranslator(&own);
    QCoreApplication::removeTranslator(&qt);
    registerTexts();
    const QLocale locale = language.isEmpty() ? QLocale::system() : QLocale(language);
    QLocale::setDefault(locale); // numbers speak the same language
    if (locale.language() == QLocale::English || !own.load(locale, "ktstudio", "_", ":/translations"))
        return "en";
    QCoreApplication::installTranslator(&own);
    // Buttons of Qt's dialogs; from the package qttranslations5-l10n.
    if (qt.load(locale, "qtbase", "_", QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qt);
    return locale.name().left(2);
}

void ktAppearance::load() {
    const ktStudioPreferences& preferences = ktStudioPreferences::the();
    setLanguage(preferences.get("window/language").toString());
    if (const QString colors = preferences.get("window/colors", "system").toString(); colors != "system")
        setColors(colors);
}
