// SPDX-License-Identifier: MIT
#include "panel/helpview.h"

#include "ui/boxlayouts.h"
#include "ui/focusring.h"
#include "ui/iconbutton.h"
#include "ui/scrollarea.h"
#include "ui/textbutton.h"
#include "ui/textlabel.h"

#include <QKeyEvent>
#include <QScrollBar>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int helpMargin = 16;
constexpr int paragraphSpacing = 14;

QWidget *makeGroup(const HelpParagraph &paragraph)
{
    auto *group = new QWidget;
    auto *column = columnIn(group, 4);
    auto *title = new TextLabel(paragraph.title, TypeRole::bodyBold);
    auto *text = new TextLabel(paragraph.text, TypeRole::caption, Tone::secondary);
    text->setWrap(true);
    column->addWidget(title);
    column->addWidget(text);
    return group;
}

} // namespace

HelpView::HelpView(QWidget *parent) : QWidget(parent)
{
    // As a popup it is a window of its own, which would not take over its owner's colours unasked.
    setAttribute(Qt::WA_WindowPropagation);
    setAccessibleName(u"功能使用说明"_s);
    setFixedSize(viewSize);
    auto *column = columnIn(this, paragraphSpacing, {0, helpMargin, 0, helpMargin});
    column->addWidget(makeTitleRow());
    column->addWidget(makeParagraphs(), 1);
    column->addWidget(makeBottomRow());
    new FocusRing(this);
}

QWidget *HelpView::makeTitleRow()
{
    auto *row = new QWidget;
    auto *line = new QHBoxLayout(row);
    line->setContentsMargins(helpMargin, 0, helpMargin - 4,
                             0); // the icon, not its hit area, ends at the margin
    auto *close = new IconButton(u"xmark.circle.fill"_s);
    close->setTip(u"关闭"_s);
    connect(close, &IconButton::clicked, this, &HelpView::closeRequested);
    line->addWidget(new TextLabel(u"功能使用说明"_s, TypeRole::headline));
    line->addStretch();
    line->addWidget(close);
    return row;
}

QWidget *HelpView::makeParagraphs()
{
    auto *content = new QWidget;
    auto *column = columnIn(content, paragraphSpacing, {helpMargin, 0, helpMargin, 0});
    for (const HelpParagraph &paragraph : helpParagraphs())
        column->addWidget(makeGroup(paragraph));
    auto *area = new ScrollArea;
    area->setWidget(content);
    content->setAutoFillBackground(false);
    area->setFocusPolicy(Qt::StrongFocus); // arrow and page keys scroll
    area->setAccessibleName(u"功能使用说明"_s);
    m_paragraphs = area;
    return area;
}

QWidget *HelpView::makeBottomRow()
{
    auto *row = new QWidget;
    auto *line =
        rowIn(row, 8, {helpMargin, 2, helpMargin - 8, 0}); // the word, not its ground, ends at the margin
    auto *disclaimer = new TextLabel(u"提示：所有数据来自交易所公开行情，仅供学习参考，不构成投资建议。"_s,
                                     TypeRole::caption, Tone::secondary);
    disclaimer->setWrap(true);
    auto *close = new TextButton(u"关闭"_s, TextButton::Look::plain);
    connect(close, &TextButton::clicked, this, &HelpView::closeRequested);
    line->addWidget(disclaimer, 1);
    line->addWidget(close);
    return row;
}

// The toolkit's focus proxy would leave the button before the paragraphs out of the Tab order.
void HelpView::takeFocus()
{
    m_paragraphs->setFocus(Qt::PopupFocusReason);
}

void HelpView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        Q_EMIT closeRequested();
    else
        QWidget::keyPressEvent(event);
}

} // namespace kestrune
