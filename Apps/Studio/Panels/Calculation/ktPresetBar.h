// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <QWidget>

class ktStudioServices;
class QComboBox;

/// The presets: a list, a button that applies the chosen one, and a menu that changes the list.
class ktPresetBar : public QWidget {
    Q_OBJECT
public:
    explicit ktPresetBar(ktStudioServices& services, QWidget* parent = nullptr);

private:
    void show();
    void askName(const QString& title, const QString& name, const std::function<void(const QString&)>& act);

    ktStudioServices& services;
    QComboBox* list;
};
