// SPDX-License-Identifier: LGPL-2.1-or-later
// The main function of ktstudio: reads the command line and shows the window.
#include "ktAppearance.h"
#include "ktLengthUnit.h"
#include "ktPresetStore.h"
#include "ktStudioWindow.h"
#include "ktUpAxis.h"
#include "ktVersion.h"

#include <clocale>
#include <cstdio>
#include <OpenSG/OSGBaseFunctions.h>
#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QPainter>
#include <QTimer>

/// The icon of the desktop file; without an installation, the same drawn here.
static QIcon makeIcon() {
    QPixmap picture(64, 64);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xf2, 0xb5, 0x44));
    painter.drawPolygon(QPolygon({{2, 46}, {32, 33}, {62, 46}, {32, 60}}));
    painter.setBrush(QColor(12, 17, 22, 120));
    painter.drawEllipse(QPoint(32, 46), 18, 8);
    QRadialGradient ball(QPointF(26, 20), 30);
    ball.setColorAt(0, Qt::white);
    ball.setColorAt(0.55, QColor(0xc9, 0xd3, 0xdc));
    ball.setColorAt(1, QColor(0x4a, 0x59, 0x66));
    painter.setBrush(ball);
    painter.drawEllipse(QPoint(32, 27), 20, 20);
    return QIcon::fromTheme("ktstudio", QIcon(picture));
}

int main(int argc, char** argv) {
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // The texts of the command line need no display.
    QCoreApplication::setApplicationName("ktstudio");
    QCoreApplication::setApplicationVersion(ktProjectVersion());
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QCoreApplication::translate("main", "Opens a scene, bakes light into its vertices, shows and saves it."));
    const QCommandLineOption help({"h", "help"}, QCoreApplication::translate("main", "Print this."));
    const QCommandLineOption version({"v", "version"}, QCoreApplication::translate("main", "Print the version."));
    const QCommandLineOption unit(
        "unit",
        QCoreApplication::translate("main",
                                    "Length of one unit of the file: auto, mm, cm, m, inch, foot or a number of "
                                    "millimetres."),
        "UNIT", "auto");
    const QCommandLineOption up(
        "up",
        QCoreApplication::translate("main",
                                    "Axis of the file that points up: x, y or z; without it, as the file says."),
        "AXIS");
    parser.addOptions({help, version, unit, up});
    parser.addPositionalArgument(
        "SCENE",
        QCoreApplication::translate("main", "Scene to open: glTF, OBJ, PLY, STL, ... More files are added to it."),
        "[SCENE...]");
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    // Options of Qt, such as -platform, are taken out by the application object.
    const bool isText = arguments.contains("--help") || arguments.contains("-h") || arguments.contains("--version") ||
                        arguments.contains("-v");
    if (isText) {
        QCoreApplication application(argc, argv);
        parser.parse(application.arguments());
        if (parser.isSet(help))
            parser.showHelp(0);
        std::printf("ktstudio %s\n", ktProjectVersion());
        return 0;
    }
    QApplication application(argc, argv);
    osg::osgInit(argc, argv);
    // Qt takes the user's locale, whose numbers may have a decimal comma. NOLINTNEXTLINE(concurrency-mt-unsafe)
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setDesktopFileName("ktstudio");
    const auto refuse = [](const QString& why) {
        std::fprintf(stderr, "ktstudio: %s\n", qUtf8Printable(why));
        return 2;
    };
    if (!parser.parse(application.arguments()))
        return refuse(parser.errorText());
    if (!ktParseLengthUnit(parser.value(unit).toStdString()))
        return refuse(QCoreApplication::translate("main",
                                                  "--unit %1: must be auto, mm, cm, m, inch, foot or a length in "
                                                  "millimetres")
                          .arg(parser.value(unit)));
    if (parser.isSet(up) && !ktParseUpAxis(parser.value(up).toStdString()))
        return refuse(QCoreApplication::translate("main", "--up %1: must be x, y or z").arg(parser.value(up)));
    ktPresetStore::load();
    ktAppearance::load();
    QApplication::setWindowIcon(makeIcon());
    ktStudioWindow window;
    window.show();
    window.begin();
    if (!parser.positionalArguments().isEmpty()) {
        ktStudioReadOptions options;
        options.unit = parser.value(unit);
        options.up = parser.value(up);
        QTimer::singleShot(0, &window,
                           [&window, &parser, options] { window.openFiles(parser.positionalArguments(), options); });
    }
    return QApplication::exec();
}
