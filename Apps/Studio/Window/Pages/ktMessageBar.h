// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <QString>
#include <QWidget>
#include <vector>

/// Messages above the scene that block nothing. Each has an icon, a text, buttons and a button that closes it.
class ktMessageBar : public QWidget {
    Q_OBJECT
public:
    enum class Level { Info, Warning, Error };
    /// A button; the message closes when it is pressed.
    struct Button {
        QString text;
        std::function<void()> act;
    };

    explicit ktMessageBar(QWidget* parent = nullptr);

    /// Shows a message in place of an earlier one of the same topic. Information without buttons goes away by itself.
    /// @param topic names what the message is about; empty: none
    void show(Level level, const QString& text, const std::vector<Button>& buttons = {}, const QString& topic = {});
    /// Closes the message of a topic.
    void close(const QString& topic);
    /// Text of the newest message; empty if there is none.
    QString getNewest() const;

private:
    QWidget* find(const QString& topic) const;
};
