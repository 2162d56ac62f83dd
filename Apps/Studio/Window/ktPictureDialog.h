// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDialog>
#include <QSize>

class QCheckBox;
class QComboBox;
class QSpinBox;

/// Asks how a picture is to be drawn, before its file is chosen. Keeps the answers for the next time.
class ktPictureDialog : public QDialog {
    Q_OBJECT
public:
    enum class Kind {
        Preview,  ///< as `ktbake --preview`: size, view, headlight
        View,     ///< of the viewport: size
        Turntable ///< of the viewport: size, number of pictures
    };

    /// @param views names of sides and cameras, for a preview
    ktPictureDialog(Kind kind, const QStringList& views, QWidget* parent);

    QSize getSize() const; ///< pixels
    QString getView() const;
    bool hasHeadlight() const;
    int getCount() const;

private:
    void keep() const;

    QSpinBox *width, *height, *count;
    QComboBox* view;
    QCheckBox* headlight;
};
