// SPDX-License-Identifier: MIT
// The state and the status bar's controller at work in real time between fakes: market answers are there at
// once and pictures go nowhere. What wakes this program is its own timing.

#include "platform/httpclient.h"
#include "platform/systemclock.h"
#include "statusbar/fakeitem.h"
#include "statusbar/statusbarcontroller.h"
#include "support/marketbodies.h"
#include "support/memorypreferences.h"
#include "support/recordingattention.h"

#include <QApplication>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// A market whose price moves with every question.
class AnsweringClient final : public HttpClient
{
public:
    [[nodiscard]] QCoro::Task<std::optional<HttpAnswer>> get(QUrl url, std::vector<HttpHeader>) override
    {
        if (url.path().endsWith("/candlesticks"_L1))
            co_return HttpAnswer{m_candles};
        m_price = m_price > 3050 ? 2950 : m_price + 0.37;
        co_return HttpAnswer{gateTicker(m_price, 1.5)};
    }
    void setProxy(const QNetworkProxy & /*proxy*/) override {}

private:
    QByteArray m_candles = gateCandles(waveCandles(200, 3000));
    double m_price = 3000;
};

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    MemoryPreferences preferences;
    preferences.preset(u"ks_has_launched_v2"_s, true);
    RecordingAttention attention;
    SystemClock clock;
    AnsweringClient crypto;
    AnsweringClient stock;
    FakeItem item;
    const StatusBarController controller(
        AppState::create({crypto, stock, clock, preferences, attention, Endpoints::live()}), item,
        Appearance{}, [](const std::shared_ptr<AppState> &, QWidget *) { return PanelContent{}; });
    return QApplication::exec();
}
