// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"

#include <QWidget>

#include <span>

namespace kestrune {

struct HelpParagraph
{
    QString title;
    QString text;
};

/// The paragraphs of the usage guide, in order.
[[nodiscard]] std::span<const HelpParagraph> helpParagraphs();

/// The usage guide: title row, paragraphs that scroll, disclaimer. Its owner shows it as a popup and closes
/// it when asked; Escape asks too.
class HelpView : public QWidget, public WithRole<QAccessible::Dialog>
{
    Q_OBJECT

public:
    static constexpr QSize viewSize{380, 460};

    explicit HelpView(QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return viewSize; }
    /// Hands the keyboard to the paragraphs, so that its keys scroll them at once.
    void takeFocus();

Q_SIGNALS:
    void closeRequested();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeTitleRow();
    QWidget *makeParagraphs();
    QWidget *makeBottomRow();

    QWidget *m_paragraphs = nullptr;
};

} // namespace kestrune
