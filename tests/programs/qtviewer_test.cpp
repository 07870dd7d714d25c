// The window layer alone: what it makes of a window's events.
#include "window/qtviewer.h"

#include <zyl/all/kernel.h>
#include <zyl/all/opengl.h>

#include <qtest.h>

class QtViewerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        auto* const cube = new GL_Cube;
        cube->setColor(VColor(255, 64, 32));
        m_scene.objects().append(cube);
        m_window.viewer().setScene(&m_scene);
        m_window.viewer().setProjection(0);
        m_window.resize(300, 200);
        m_window.selectionChanged = [this] { ++m_selections; };
    }

    void drawsBeforeItShows()
    {
        m_window.initializeScene();
        const VImage picture = m_window.picture();
        QCOMPARE(picture.width(), 300);
        QCOMPARE(picture.height(), 200);
        QVERIFY(picture.pixel(150, 100) != picture.pixel(1, 1));
        QCOMPARE(picture.pixel(1, 1) >> 24, 0xFFu);
        m_window.viewer().setZoom(0.5);
        m_window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_window));
    }

    void aRubberBandShowsAndGoesWithoutATrace()
    {
        const VImage before = shown();
        QTest::mousePress(&m_window, Qt::LeftButton, {}, QPoint(20, 30));
        QTest::mouseMove(&m_window, QPoint(90, 190));
        QVERIFY(differing(before) > 400);
        QTest::mouseMove(&m_window, QPoint(80, 80));
        // On the lower edge, counted from the top.
        const VImage band = shown();
        int inverted = 0;
        for (int y = 76; y < 85; ++y)
            inverted += (band.pixel(60, y) & 0xFFFFFF) == (~before.pixel(60, y) & 0xFFFFFF);
        QCOMPARE(inverted, 1);
        QTest::mouseRelease(&m_window, Qt::LeftButton, {}, QPoint(80, 80));
        QCOMPARE(differing(before), 0);
        QCOMPARE(m_selections, 0);
    }

    void modifiersAreHandedOn()
    {
        const QPoint middle(150, 100), corner(5, 5);
        m_scene.clearSelection();
        m_selections = 0;
        QTest::mouseClick(&m_window, Qt::LeftButton, Qt::ShiftModifier, middle);
        QCOMPARE(m_scene.selection().count(), 1u);
        QCOMPARE(m_selections, 1);
        QTest::mouseClick(&m_window, Qt::LeftButton, Qt::ControlModifier, middle);
        QCOMPARE(m_scene.selection().count(), 0u);
        QCOMPARE(m_selections, 2);
        QTest::mousePress(&m_window, Qt::LeftButton, Qt::AltModifier, corner);
        QCOMPARE(m_window.viewer().mouseAction(), int(GL_Viewer::Orbit));
        QTest::mouseRelease(&m_window, Qt::LeftButton, Qt::AltModifier, corner);
        QTest::mousePress(&m_window, Qt::MiddleButton, Qt::ShiftModifier, corner);
        QCOMPARE(m_window.viewer().mouseAction(), int(GL_Viewer::Dolly));
        QTest::mouseRelease(&m_window, Qt::MiddleButton, Qt::ShiftModifier, corner);
        QTest::mousePress(&m_window, Qt::RightButton, {}, corner);
        QCOMPARE(m_window.viewer().mouseAction(), int(GL_Viewer::NoAction));
    }

    void upIsUp()
    {
        m_window.viewer().setMouseMode(GL_Viewer::View);
        const geometry::Vector3f before = m_window.viewer().center();
        QTest::mousePress(&m_window, Qt::LeftButton, Qt::ControlModifier, QPoint(100, 100));
        QTest::mouseMove(&m_window, QPoint(110, 80));
        QTest::mouseRelease(&m_window, Qt::LeftButton, Qt::ControlModifier, QPoint(110, 80));
        // The scene follows the pointer, and so the centre of the view goes against it.
        const geometry::Vector3f moved = m_window.viewer().center() - before;
        QVERIFY(moved.x < 0 && moved.y < 0);
        QVERIFY(qAbs(moved.y - 2 * moved.x) < 1e-5);
    }

    void theWheelZoomsByNotches()
    {
        const double before = m_window.viewer().zoom();
        QWheelEvent wheel(QPointF(9, 9), QPointF(9, 9), QPoint(), QPoint(0, 1200), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&m_window, &wheel);
        QVERIFY(wheel.isAccepted());
        QVERIFY(qAbs(m_window.viewer().zoom() - 2 * before) < 1e-9);
    }

    void followsTheWindowsSize()
    {
        m_window.resize(400, 300);
        QVERIFY(QTest::qWaitFor([this] { return m_window.viewer().viewport().height == 300; }));
        QCOMPARE(m_window.picture().width(), 400);
    }

private:
    /// What stands in the window, rubber bands included.
    VImage shown()
    {
        QTest::qWait(50); // for drawing that was asked for
        VImage image;
        const GL_Viewport& viewport = m_window.viewer().viewport();
        m_window.viewer().readPixels(image, 0, 0, viewport.width, viewport.height);
        return image;
    }
    int differing(const VImage& from)
    {
        const VImage now = shown();
        int count = 0;
        for (int y = 0; y < now.height(); ++y)
            for (int x = 0; x < now.width(); ++x)
                count += (now.pixel(x, y) & 0xFFFFFF) != (from.pixel(x, y) & 0xFFFFFF);
        return count;
    }

    const VGlobal m_global;
    GL_Scene m_scene;
    QtViewer m_window;
    int m_selections = 0;
};

QTEST_MAIN(QtViewerTest)
#include "qtviewer_test.moc"
