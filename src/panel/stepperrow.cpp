#include "panel/stepperrow.h"

#include "panel/helptitle.h"
#include "panel/iconbutton.h"
#include "panel/inputfield.h"
#include "panel/textlabel.h"

#include <QBoxLayout>

namespace kestrune {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int fieldWidth = 56;
constexpr int gap = 4;

} // namespace

QWidget *makeSettingTitle(const QString &title, const QString &help, QWidget *&mark)
{
    if (help.isEmpty()) {
        mark = nullptr;
        return new TextLabel(title, TypeRole::caption);
    }
    auto *titled = new HelpTitle(title, TypeRole::caption, help);
    mark = titled->mark();
    return titled;
}

StepperRow::StepperRow(const QString &title, const QString &help, QWidget *parent)
    : QWidget(parent)
    , m_title(title)
    , m_minus(makeStep(u"minus"_s, u"减小"_s, -1))
    , m_field(new InputField(title))
    , m_plus(makeStep(u"plus"_s, u"增大"_s, 1))
{
    m_field->setFixedWidth(fieldWidth);
    m_field->setAlignment(Qt::AlignHCenter);
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(gap);
    line->addWidget(makeSettingTitle(title, help, m_help));
    line->addStretch(1);
    line->addWidget(m_minus);
    line->addWidget(m_field);
    line->addWidget(m_plus);
    connect(m_field, &InputField::returnPressed, this, [this] { Q_EMIT submitted(m_field->text()); });
}

IconButton *StepperRow::makeStep(const QString &icon, const QString &tip, int direction)
{
    auto *button = new IconButton(icon);
    button->setTip(tip);
    button->setAccessibleName(m_title + u' ' + tip);
    button->setAutoRepeat(true);
    button->setRaised(true);
    button->setIconSide(12);
    connect(button, &IconButton::clicked, this, [this, direction] { Q_EMIT stepped(direction); });
    return button;
}

QList<QWidget *> StepperRow::tabStops() const
{
    QList<QWidget *> stops{m_minus, m_field, m_plus};
    if (m_help)
        stops.prepend(m_help);
    return stops;
}

} // namespace kestrune
