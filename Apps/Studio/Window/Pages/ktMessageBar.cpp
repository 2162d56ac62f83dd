// SPDX-License-Identifier: LGPL-2.1-or-later
// Rows of messages with buttons.
#include "ktMessageBar.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVariant>
#include <QVBoxLayout>

namespace {

constexpr int mostMessages = 3;
constexpr int shownFor_ms = 10000;
const char* const topicProperty = "topic";
const char* const textName = "messageText";

} // namespace

ktMessageBar::ktMessageBar(QWidget* parent) : QWidget(parent) {
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(1);
    setAccessibleName(tr("Messages"));
}

void ktMessageBar::show(Level level, const QString& text, const std::vector<Button>& buttons, const QString& topic) {
    close(topic);
    while (layout()->count() >= mostMessages)
        delete layout()->takeAt(0)->widget();

    auto* row = new QFrame(this);
    row->setFrameShape(QFrame::StyledPanel);
    row->setAutoFillBackground(true);
    row->setProperty(topicProperty, topic);
    auto* lines = new QVBoxLayout(row);
    lines->setContentsMargins(8, 4, 4, 4);
    auto* line = new QHBoxLayout;
    lines->addLayout(line);
    const QStyle::StandardPixmap icons[] = {QStyle::SP_MessageBoxInformation, QStyle::SP_MessageBoxWarning,
                                            QStyle::SP_MessageBoxCritical};
    auto* icon = new QLabel(row);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(icons[static_cast<int>(level)]).pixmap(size));
    line->addWidget(icon);
    auto* label = new QLabel(text, row);
    label->setObjectName(textName);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    line->addWidget(label, 1);
    // Several buttons would leave the text no room.
    auto* buttonLine = buttons.size() > 1 ? new QHBoxLayout : line;
    if (buttonLine != line)
        buttonLine->addStretch();
    for (const Button& button : buttons) {
        auto* push = new QPushButton(button.text, row);
        buttonLine->addWidget(push);
        connect(push, &QPushButton::clicked, this, [row, act = button.act] {
            row->hide();
            row->setProperty(topicProperty, QVariant());
            row->deleteLater();
            if (act)
                act();
        });
    }
    auto* closing = new QToolButton(row);
    closing->setAutoRaise(true);
    closing->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    closing->setToolTip(tr("Close this message"));
    closing->setAccessibleName(closing->toolTip());
    connect(closing, &QToolButton::clicked, row, &QWidget::deleteLater);
    line->addWidget(closing);
    if (buttonLine != line)
        lines->addLayout(buttonLine);
    layout()->addWidget(row);
    if (level == Level::Info && buttons.empty())
        QTimer::singleShot(shownFor_ms, row, &QWidget::deleteLater);
}

QWidget* ktMessageBar::find(const QString& topic) const {
    for (int i = layout()->count(); i-- > 0;)
        if (QWidget* row = layout()->itemAt(i)->widget(); row->property(topicProperty).toString() == topic)
            return row;
    return nullptr;
}

void ktMessageBar::close(const QString& topic) {
    if (!topic.isEmpty())
        delete find(topic);
}

QString ktMessageBar::getNewest() const {
    for (int i = layout()->count(); i-- > 0;)
        if (const auto* label = layout()->itemAt(i)->widget()->findChild<QLabel*>(textName))
            return label->text();
    return {};
}
