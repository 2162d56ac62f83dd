// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QWidget>

class ktStudioServices;
class QComboBox;
class QLineEdit;
class QListView;

/// The log: filter by level and text, copy, and select the part that a line names.
class ktLogPanel : public QWidget {
    Q_OBJECT
public:
    explicit ktLogPanel(ktStudioServices& services, QWidget* parent = nullptr);

private:
    class Filter;
    void selectNamed(const QString& line);
    void copy() const;

    ktStudioServices& services;
    Filter* filter;
    QListView* list;
};
