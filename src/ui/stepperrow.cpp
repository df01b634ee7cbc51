// SPDX-License-Identifier: MIT
#include "ui/stepperrow.h"

#include "ui/boxlayouts.h"
#include "ui/helptitle.h"
#include "ui/iconbutton.h"
#include "ui/inputfield.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int stepperFieldWidth = 56;
constexpr int stepperGap = 4;

} // namespace

StepperRow::StepperRow(const QString &title, const QString &help, QWidget *parent)
    : QWidget(parent)
    , m_title(new HelpTitle(title, TypeRole::caption, help))
    , m_minus(makeStep(u"minus"_s, title, u"减小"_s, -1))
    , m_field(new InputField(title))
    , m_plus(makeStep(u"plus"_s, title, u"增大"_s, 1))
{
    m_field->setFixedWidth(stepperFieldWidth);
    m_field->setAlignment(Qt::AlignHCenter);
    auto *line = rowIn(this, stepperGap);
    line->addWidget(m_title);
    line->addStretch(1);
    line->addWidget(m_minus);
    line->addWidget(m_field);
    line->addWidget(m_plus);
    connect(m_field, &InputField::submitted, this, &StepperRow::submitted);
}

IconButton *StepperRow::makeStep(const QString &icon, const QString &title, const QString &tip, int direction)
{
    auto *button = new IconButton(icon);
    button->setTip(tip);
    button->setAccessibleName(title + u' ' + tip);
    button->setAutoRepeat(true);
    button->setRaised(true);
    button->setIconSide(12);
    connect(button, &IconButton::clicked, this, [this, direction] { Q_EMIT stepped(direction); });
    return button;
}

QList<QWidget *> StepperRow::tabStops() const
{
    return {m_title->mark(), m_minus, m_field, m_plus};
}

} // namespace kestrune
