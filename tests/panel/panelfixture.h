// SPDX-License-Identifier: MIT
#pragma once

#include "ui/inputfield.h"
#include "panel/planbanner.h"
#include "panel/popoverview.h"
#include "panel/zonerow.h"
#include "support/appfixture.h"

#include <QAbstractButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

namespace kestrune::test {

/// A panel over a state whose market never answers: the test fills the state itself.
class PanelFixture : public AppFixture
{
public:
    explicit PanelFixture(const QString &marketNotice = {});
    ~PanelFixture();

    /// Price, zones on both sides, signals, readings and a sparkline around `base`.
    void fillMarket(double base = 3456.78);
    /// A price tick as the refresh brings it: price, time and zones at their new distances.
    void tick(double price);
    /// Lets the panel follow what changed.
    void settle() { drainEvents(); }

    /// The shown button with this accessible name or text; nullptr when there is none.
    [[nodiscard]] QAbstractButton *button(const QString &name) const;
    void click(const QString &name);
    /// The shown widgets of one kind, in reading order.
    template <typename Widget>
    [[nodiscard]] QList<Widget *> shown() const
    {
        QList<Widget *> found;
        for (Widget *widget : view->findChildren<Widget *>()) {
            if (widget->isVisible())
                found.append(widget);
        }
        sortByPlace(found);
        return found;
    }
    /// The texts of all shown labels, in reading order.
    [[nodiscard]] QStringList texts() const;

    QList<QUrl> opened; ///< addresses the panel wanted shown
    std::unique_ptr<PopoverView> view;

private:
    template <typename Widget>
    void sortByPlace(QList<Widget *> &widgets) const
    {
        std::stable_sort(widgets.begin(), widgets.end(), [this](const Widget *a, const Widget *b) {
            // Widgets of one row are centred on one line, give or take a pixel.
            const QPoint at = a->mapTo(view.get(), a->rect().center());
            const QPoint other = b->mapTo(view.get(), b->rect().center());
            return std::pair(at.y() / 8, at.x()) < std::pair(other.y() / 8, other.x());
        });
    }
};

/// A shown panel with a filled market.
class Shown : public PanelFixture
{
public:
    explicit Shown(const QString &notice = {}) : PanelFixture(notice)
    {
        fillMarket();
        view->show();
        settle();
        announcements.clear();
    }

    [[nodiscard]] QList<ZoneRow *> rows() const { return shown<ZoneRow>(); }
    [[nodiscard]] QScrollBar *scrollBar() const
    {
        return view->findChild<QScrollArea *>()->verticalScrollBar();
    }
    [[nodiscard]] PlanBanner *banner() const { return shown<PlanBanner>().value(0); }
    [[nodiscard]] InputField *field(const QString &name) const
    {
        for (InputField *found : shown<InputField>()) {
            if (found->accessibleName() == name)
                return found;
        }
        return nullptr;
    }
    void enterAlert(const QString &text)
    {
        InputField *input = field(QStringLiteral("目标价"));
        input->setFocus();
        QTest::keyClicks(input, text);
        QTest::keyClick(input, Qt::Key_Return);
        settle();
    }
    [[nodiscard]] QStringList rowPrices() const
    {
        QStringList prices;
        for (const ZoneRow *row : rows())
            prices.append(row->priceText());
        return prices;
    }
};

/// The zones that fillMarket puts around a price: three resistances and three supports, and one "current".
[[nodiscard]] std::vector<Zone> zonesAround(double base, double price);

} // namespace kestrune::test
