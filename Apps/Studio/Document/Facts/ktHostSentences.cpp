// SPDX-License-Identifier: LGPL-2.1-or-later
// Translates sentences that are made of English pieces and lengths.
#include "ktHostSentences.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>
#include <QStringList>

namespace {

const char* const context = "ktHostSentences";

/// For lupdate. Lengths are %1 and %2.
[[maybe_unused]] const char* const sentences[] = {
    QT_TRANSLATE_NOOP("ktHostSentences", "The result is nearly all black."),
    QT_TRANSLATE_NOOP("ktHostSentences", "The result is nearly all white."),
    QT_TRANSLATE_NOOP("ktHostSentences", "The lights are hidden, far away or weak; exposure scales their light."),
    QT_TRANSLATE_NOOP("ktHostSentences", "Something hides the lights and the sky from nearly all surfaces."),
    QT_TRANSLATE_NOOP("ktHostSentences", "Rays meet a surface within the maximum distance of %1 nearly everywhere."),
    QT_TRANSLATE_NOOP("ktHostSentences", "Inside a closed room a smaller maximum distance helps, such as 10%."),
    QT_TRANSLATE_NOOP("ktHostSentences", "Or the parts are inside out."),
    QT_TRANSLATE_NOOP("ktHostSentences", "The lights are bright; an exposure below 1 scales their light."),
    QT_TRANSLATE_NOOP("ktHostSentences", "Only surfaces within the maximum distance of %1 occlude, which is short for "
                                         "the scene's diagonal of %2."),
    QT_TRANSLATE_NOOP("ktHostSentences", "Surfaces nearer than the minimum distance of %1 do not occlude, which is "
                                         "long for the scene's diagonal of %2."),
    QT_TRANSLATE_NOOP("ktHostSentences", "No surface hides the sky from another one, as on a single convex part."),
    QT_TRANSLATE_NOOP("ktHostSentences", "A ground plane (File, Reading options) adds a plane below that shows the "
                                         "shadow."),
    QT_TRANSLATE_NOOP("ktHostSentences", "The minimum distance of %1 is above the scene's diagonal of %2, so nothing "
                                         "occludes."),
    QT_TRANSLATE_NOOP("ktHostSentences", "The minimum distance of %1 is large for the scene's diagonal of %2: surfaces "
                                         "that are nearer do not occlude."),
    QT_TRANSLATE_NOOP("ktHostSentences", "The maximum distance of %1 is below a ten-thousandth of the scene's diagonal "
                                         "of %2, so hardly anything occludes."),
    QT_TRANSLATE_NOOP("ktHostSentences", "Edges below %1 are not split, and the scene's diagonal of %2 is shorter, so "
                                         "nothing is refined."),
};

QString translate(QString sentence) {
    static const QRegularExpression length("[0-9][0-9.e+-]* mm");
    QStringList lengths;
    for (auto match = length.match(sentence); match.hasMatch(); match = length.match(sentence)) {
        lengths << match.captured().replace('.', QLocale().decimalPoint());
        sentence.replace(match.capturedStart(), match.capturedLength(), "%" + QString::number(lengths.size()));
    }
    QString translated = QCoreApplication::translate(context, qUtf8Printable(sentence));
    for (int i = 0; i < lengths.size(); ++i)
        translated.replace("%" + QString::number(i + 1), lengths[i]);
    return translated;
}

} // namespace

QString ktTranslateSentences(const QString& text) {
    static const QRegularExpression between("(?<=[.]) +");
    QStringList translated;
    for (const QString& sentence : text.split(between, Qt::SkipEmptyParts))
        translated << translate(sentence);
    return translated.join(' ');
}
