// The viewer as somebody uses it: a real window, with the mouse.
#include "window/qtviewer.h"
#include "zylview/mainwindow.h"
#include "zylview/nodetree.h"
#include "zylview/propertytable.h"

#include <zyl/all/kernel.h>

#include <qaction.h>
#include <qtemporarydir.h>
#include <qtest.h>

#include <cmath>

namespace
{
constexpr char sceneText[] = R"scene(// ZYL ASCII V1.0
Group {
    name "house";
    children {
        Cube { name "left"; color 0xffff4040; transform { translate { -2, 0, 0 }; }; }
        Cube { name "right"; color 0xff40ff40; transform { translate { 2, 0, 0 }; }; }
    };
}
timeLength 4;
MoveAction { name "move"; }
connection { action "move"; input 0; output { "/objects/house/right" }; }
connection { signal "valueChanged(int,double)";
receiver "move";
slot "evaluate(int,double)";
}
)scene";
} // namespace

class ZylviewTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_folder.isValid());
        QFile file(path("scene.zyl"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(sceneText);
        file.close();
        m_window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_window));
        QVERIFY(QTest::qWaitFor([this] { return m_window.view().isExposed(); }));
    }

    void opensAndShowsAScene()
    {
        QCOMPARE(m_window.open(path("nowhere.zyl")),
                 path("nowhere.zyl") + " isn't known as a scene");
        QCOMPARE(m_window.open(path("scene.zyl")), QString());
        m_window.view().viewer().setZoom(0.8);
        QVERIFY(QTest::qWaitFor([this] { return !m_window.view().picture().isNull(); }));
        const VImage picture = m_window.view().picture();
        const QPoint at = pixelOf("left");
        const VColor color(picture.pixel(at.x(), at.y()));
        QVERIFY2(color.red() > color.green() + 40, "the left cube is red");
    }

    void picksWithTheMouse()
    {
        QTest::mouseClick(&m_window.view(), Qt::LeftButton, {}, pixelOf("left"));
        QVERIFY(m_window.scene().currentObject());
        QCOMPARE(QByteArray(m_window.scene().currentObject()->name()), QByteArray("left"));
        const auto* const tree = m_window.findChild<NodeTree*>();
        QCOMPARE(tree->selectedItems().size(), 1);
        QVERIFY(tree->selectedItems().first()->text(0).startsWith("left"));
        QCOMPARE(m_window.findChild<PropertyTable*>()->node(), m_window.scene().currentObject());
    }

    void dragsWhatIsSelected()
    {
        const QPoint from = pixelOf("left"), to = from + QPoint(60, -40);
        const geometry::Vector3f before = placeOf("left");
        QTest::mousePress(&m_window.view(), Qt::LeftButton, {}, from);
        QTest::mouseMove(&m_window.view(), from + QPoint(30, -20));
        QTest::mouseMove(&m_window.view(), to);
        QTest::mouseRelease(&m_window.view(), Qt::LeftButton, {}, to);
        const geometry::Vector3f moved = placeOf("left") - before;
        QVERIFY2(moved.x > 0 && moved.y > 0, "it moved right and up");
        // What was under the pointer still is.
        const QPoint now = pixelOf("left");
        QVERIFY2((now - to).manhattanLength() <= 3, "it stayed under the pointer");
    }

    void turnsByAHandle()
    {
        trigger("Move");
        m_window.scene().setSelection(node("left"));
        const GL_Manipulator* const manipulator = m_window.scene().manipulator();
        QVERIFY(manipulator);
        QCOMPARE(manipulator->target(), node("left"));
        // Somewhere right of the origin lies the arrow along x, by which only x changes.
        const geometry::Vector3f before = placeOf("left");
        const QPoint origin = pixelOf("left");
        m_window.view().viewer().makeCurrent();
        QPoint grip;
        for (int away = 20; away < 120 && grip.isNull(); ++away) {
            const QPoint at = origin + QPoint(away, 0);
            QTest::mouseClick(&m_window.view(), Qt::LeftButton, {}, at);
            if (manipulator->handle() == GL_Manipulator::X)
                grip = at;
        }
        QVERIFY2(!grip.isNull(), "the arrow can be picked");
        QTest::mousePress(&m_window.view(), Qt::LeftButton, {}, grip);
        QTest::mouseMove(&m_window.view(), grip + QPoint(30, -25));
        QTest::mouseRelease(&m_window.view(), Qt::LeftButton, {}, grip + QPoint(30, -25));
        const geometry::Vector3f moved = placeOf("left") - before;
        QVERIFY2(moved.x > 0.01f, "it moved along x");
        QVERIFY2(std::abs(moved.y) < 1e-4f && std::abs(moved.z) < 1e-4f, "and only so");
        trigger("No handles");
        QVERIFY(!m_window.scene().manipulator());
    }

    void takesValuesFromTheTable()
    {
        auto* const table = m_window.findChild<PropertyTable*>();
        for (int row = 0; row < table->rowCount(); ++row) {
            if (table->item(row, 0)->text() == "Position") {
                table->item(row, 1)->setText("nonsense");
                table->item(row, 1)->setText("-1, 0.5, 0.25");
            }
        }
        QCOMPARE(placeOf("left").x, -1.0f);
        QCOMPARE(placeOf("left").y, 0.5f);
        QCOMPARE(placeOf("left").z, 0.25f);
    }

    void drivesTheScene()
    {
        const float before = placeOf("right").x;
        m_window.scene().evaluate(0, 1.5);
        QCOMPARE(placeOf("right").x, before + 1.5f);
    }

    void savesAndReloads()
    {
        for (const char* const name : {"saved.zyl", "saved.zylb"}) {
            QCOMPARE(m_window.save(path(name)), QString());
            QCOMPARE(m_window.open(path(name)), QString());
            QCOMPARE(placeOf("left").y, 0.5f);
            QCOMPARE(placeOf("right").x, 3.5f);
        }
        QVERIFY(m_window.save(path("saved.txt")).contains("ending"));
        QCOMPARE(m_window.exportPicture(path("picture.png")), QString());
        VImage picture;
        QVERIFY(picture.load(path("picture.png")));
        QCOMPARE(picture.width(), m_window.view().picture().width());
    }

    void deletesWhatIsSelected()
    {
        m_window.scene().setSelection(node("left"));
        trigger("&Delete");
        QVERIFY(!node("left"));
        QVERIFY(node("right"));
        QVERIFY(!m_window.scene().currentObject());
        m_window.scene().setChanged(false);
        QVERIFY(m_window.close());
    }

private:
    void trigger(const char* name)
    {
        for (QAction* const action : m_window.findChildren<QAction*>())
            if (action->text() == name)
                action->trigger();
    }
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

    GL_Object* node(const char* name)
    {
        return m_window.scene().objects().findPath((QByteArray("house/") + name).constData());
    }
    geometry::Vector3f placeOf(const char* name)
    {
        geometry::Box3f box;
        node(name)->bounds(box);
        return box.center();
    }
    /// The pixel of the window that shows a node's centre.
    QPoint pixelOf(const char* name)
    {
        int x = 0, y = 0;
        const GL_Viewer& viewer = m_window.view().viewer();
        viewer.eyeToScreen(x, y, viewer.worldToEye(placeOf(name)));
        const double ratio = m_window.view().devicePixelRatio();
        return {int(x / ratio), int((viewer.viewport().height - 1 - y) / ratio)};
    }

    const VGlobal m_global;
    QTemporaryDir m_folder;
    MainWindow m_window;
};

QTEST_MAIN(ZylviewTest)
#include "zylview_test.moc"
