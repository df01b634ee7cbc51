// SPDX-License-Identifier: MIT
#include "panel/popoverview.h"
#include "snapshot/pngwriter.h"
#include "snapshot/snapshotpicture.h"
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QApplication>
#include <QBuffer>
#include <QImageReader>
#include <QTest>

#include <cmath>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A loaded crypto instrument and its picture.
QImage picture(double price, const QString &notice = {}, std::chrono::milliseconds later = 0ms)
{
    AppFixture fixture;
    fixture.serveCrypto(price);
    fixture.start();
    fixture.clock.advance(later);
    return SnapshotPicture(fixture.state, notice).render();
}

} // namespace

class SnapshotPictureTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void itIsTheVeryPanelThatAScreenShows();
    void equalDataAndTimeGiveEqualPictures();
    void theDesktopsSettingsDoNotShow();
    void thePngIsReadBackExactly();
    void thePngIsEightBitRgba();
};

void SnapshotPictureTest::itIsTheVeryPanelThatAScreenShows()
{
    AppFixture fixture;
    fixture.serveCrypto(3000);
    fixture.preferences.preset(u"ks_account_size"_s, 12000.0); // more lines in the banner
    fixture.start();
    PopoverView view(fixture.state);
    view.show();
    drainEvents();
    QImage screen(view.size() * 2, QImage::Format_ARGB32_Premultiplied);
    screen.setDevicePixelRatio(2);
    view.render(&screen);
    SnapshotPicture picture(fixture.state, {});
    QVERIFY(picture.render() == screen);
    QCOMPARE(screen.size(), QSize(640, 1800));
    QCOMPARE(screen.pixel(0, 1799), qRgb(28, 28, 31));
    fixture.state->snapshot = {};
    fixture.state->price = std::nullopt; // a spinner stands where it starts
    const QImage spinning = picture.render();
    QTest::qWait(150);
    QVERIFY(picture.render() == spinning);
}

void SnapshotPictureTest::equalDataAndTimeGiveEqualPictures()
{
    const QImage first = picture(3000);
    QVERIFY(first == picture(3000));
    QVERIFY(first != picture(3001));
    QVERIFY(first != picture(3000, u"演示行情"_s));
    QVERIFY(first != picture(3000, {}, 300ms)); // the markers pulse with the clock
}

void SnapshotPictureTest::theDesktopsSettingsDoNotShow()
{
    const QImage usual = picture(3000);
    const QFont font = QApplication::font();
    const QPalette palette = QApplication::palette();
    QFont other(font);
    other.setPointSize(23);
    other.setItalic(true);
    QApplication::setFont(other);
    QApplication::setPalette(QPalette(Qt::magenta, Qt::yellow));
    const QImage strange = picture(3000);
    QApplication::setFont(font);
    QApplication::setPalette(palette);
    QVERIFY(strange == usual);
}

void SnapshotPictureTest::thePngIsReadBackExactly()
{
    const QSize size(301, 200); // more than one buffer, rows that are no multiple of anything
    QImage image(size, QImage::Format_RGBA8888);
    quint32 noise = 12345;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            noise = noise * 1664525 + 1013904223;
            image.setPixelColor(x, y, QColor::fromRgba(noise));
        }
    }
    const QImage read = QImage::fromData(encodePng(image), "PNG");
    QCOMPARE(read.convertToFormat(QImage::Format_RGBA8888), image);
    QVERIFY(encodePng(QImage()).isEmpty());
}

void SnapshotPictureTest::thePngIsEightBitRgba()
{
    QImage image(6, 4, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::red);
    const QByteArray png = encodePng(image);
    QCOMPARE(png.mid(12, 4), QByteArray("IHDR"));
    QCOMPARE(png.mid(24, 2), QByteArray("\x08\x06", 2)); // depth, colour type
    // 144 pixels per inch: half as many points as pixels.
    QCOMPARE(QImage::fromData(png).dotsPerMeterX(), int(std::lround(144 / 0.0254)));
}

KESTRUNE_TEST(SnapshotPictureTest)
#include "tst_snapshotpicture.moc"
