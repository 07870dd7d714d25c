#include "zylview/mainwindow.h"

#include "support/scenefile.h"
#include "window/qtviewer.h"
#include "zylview/nodetree.h"
#include "zylview/propertytable.h"
#include "zylview/timeline.h"

#include <qactiongroup.h>
#include <qdockwidget.h>
#include <qevent.h>
#include <qfiledialog.h>
#include <qfileinfo.h>
#include <qmenubar.h>
#include <qmessagebox.h>
#include <qstatusbar.h>
#include <qtoolbar.h>

namespace
{
struct View {
    const char* name;
    const char* key;
    void (GL_Viewer::*turn)();
};
constexpr View views[] = {
    {"Top", "Ctrl+1", &GL_Viewer::top},     {"Bottom", "Ctrl+2", &GL_Viewer::bottom},
    {"Front", "Ctrl+3", &GL_Viewer::front}, {"Back", "Ctrl+4", &GL_Viewer::back},
    {"Left", "Ctrl+5", &GL_Viewer::left},   {"Right", "Ctrl+6", &GL_Viewer::right},
    {"Fit", "Ctrl+0", &GL_Viewer::fitView}, {"Reset", "Ctrl+R", &GL_Viewer::resetView}};

struct Switch {
    const char* name;
    unsigned flag;
    bool on;
};
constexpr Switch switches[] = {{"Textures", GL_Viewer::Textures, true},
                               {"Axes", GL_Viewer::ShowAxis, true},
                               {"Fog", GL_Viewer::Fog, false},
                               {"Antialias", GL_Viewer::Antialias, false},
                               {"Lock view", GL_Viewer::Locked, false}};

struct Mode {
    const char* name;
    const char* key;
    int mode;
};
constexpr Mode modes[] = {{"Select", "S", GL_Viewer::Select},
                          {"View", "V", GL_Viewer::View},
                          {"Fly", "F", GL_Viewer::Fly}};

struct Handles {
    const char* name;
    const char* key;
    int kind; // of the manipulator; negative for none
};
constexpr Handles handles[] = {{"No handles", "H", -1},
                               {"Move", "W", GL_Manipulator::Translate},
                               {"Turn", "E", GL_Manipulator::Rotate},
                               {"Scale", "R", GL_Manipulator::Scale}};

QString fileFilter()
{
    QStringList endings;
    for (const files::Row& row : files::sceneEndings())
        endings.append(QString("*.%1").arg(QLatin1String(row.ending)));
    return QString("Scenes (%1);;All files (*)").arg(endings.join(' '));
}
} // namespace

MainWindow::MainWindow()
    : m_scene(std::make_unique<GL_Scene>()), m_view(new QtViewer), m_tree(new NodeTree),
      m_properties(new PropertyTable), m_timeline(new Timeline)
{
    m_view->viewer().setScene(m_scene.get());
    for (const Switch& option : switches)
        m_view->viewer().setFlags(option.flag, option.on);
    m_view->selectionChanged = [this] { showSelection(); };
    setCentralWidget(QWidget::createWindowContainer(m_view));
    const auto dock = [this](const char* title, QWidget* widget, Qt::DockWidgetArea area) {
        auto* const frame = new QDockWidget(title);
        frame->setObjectName(title);
        frame->setWidget(widget);
        addDockWidget(area, frame);
    };
    dock("Nodes", m_tree, Qt::LeftDockWidgetArea);
    dock("Properties", m_properties, Qt::LeftDockWidgetArea);
    dock("Time and values", m_timeline, Qt::BottomDockWidgetArea);
    connect(m_tree, &NodeTree::nodesSelected, this, &MainWindow::selectFromTree);
    connect(m_properties, &PropertyTable::changed, this, [this] {
        m_scene->setChanged(true);
        m_tree->refreshNames();
        m_view->requestUpdate();
        showTitle();
    });
    connect(m_timeline, &Timeline::valueGiven, this, &MainWindow::give);
    makeMenus();
    resize(1100, 750);
    showTitle();
}

MainWindow::~MainWindow()
{
    // What the scene holds of GL's ends in the context that it was made in.
    m_tree->setScene(nullptr);
    m_properties->setNode(nullptr);
    m_view->viewer().makeCurrent();
    m_view->viewer().setScene(nullptr);
    m_scene.reset();
}

void MainWindow::makeMenus()
{
    const auto action = [this](QMenu* menu, const char* name, const QKeySequence& key, auto run) {
        QAction* const made = menu->addAction(name);
        made->setShortcut(key);
        connect(made, &QAction::triggered, this, run);
        return made;
    };
    QMenu* const file = menuBar()->addMenu("&File");
    action(file, "&Open...", QKeySequence::Open, [this] {
        const QString name =
            QFileDialog::getOpenFileName(this, "Open a scene", m_fileName, fileFilter());
        if (!name.isEmpty() && mayLeave())
            tell(open(name));
    });
    const auto saveAs = [this] {
        const QString name =
            QFileDialog::getSaveFileName(this, "Save the scene", m_fileName, fileFilter());
        if (!name.isEmpty())
            tell(save(name));
    };
    action(file, "&Save", QKeySequence::Save, [this, saveAs] {
        if (m_fileName.isEmpty())
            saveAs();
        else
            tell(save(m_fileName));
    });
    action(file, "Save &as...", QKeySequence::SaveAs, saveAs);
    action(file, "&Export a picture...", QKeySequence("Ctrl+E"), [this] {
        const QString name =
            QFileDialog::getSaveFileName(this, "Export a picture", QString(), "Pictures (*.png)");
        if (!name.isEmpty())
            tell(exportPicture(name));
    });
    file->addSeparator();
    action(file, "&Quit", QKeySequence::Quit, [this] { close(); });

    action(menuBar()->addMenu("&Edit"), "&Delete", QKeySequence::Delete,
           [this] { deleteSelected(); });

    QMenu* const view = menuBar()->addMenu("&View");
    for (const View& row : views)
        action(view, row.name, QKeySequence(row.key), [this, turn = row.turn] {
            m_view->viewer().makeCurrent();
            (m_view->viewer().*turn)();
        });
    view->addSeparator();
    QAction* const perspective = action(view, "Perspective", QKeySequence("P"), [this](bool on) {
        m_view->viewer().setProjection(on);
        m_view->requestUpdate();
    });
    perspective->setCheckable(true);
    perspective->setChecked(true);
    for (const Switch& row : switches) {
        QAction* const made =
            action(view, row.name, QKeySequence(), [this, flag = row.flag](bool on) {
                m_view->viewer().setFlags(flag, on);
                m_view->requestUpdate();
            });
        made->setCheckable(true);
        made->setChecked(row.on);
    }

    QToolBar* const bar = addToolBar("Mouse");
    bar->setObjectName("Mouse");
    const auto choice = [this, bar](QActionGroup* group, const char* name, const char* key,
                                    auto run) {
        QAction* const made = bar->addAction(name);
        made->setShortcut(QKeySequence(key));
        made->setCheckable(true);
        made->setChecked(group->actions().isEmpty());
        group->addAction(made);
        connect(made, &QAction::triggered, this, run);
    };
    auto* const modeGroup = new QActionGroup(this);
    for (const Mode& row : modes)
        choice(modeGroup, row.name, row.key,
               [this, mode = row.mode] { m_view->viewer().setMouseMode(mode); });
    bar->addSeparator();
    auto* const handleGroup = new QActionGroup(this);
    for (const Handles& row : handles)
        choice(handleGroup, row.name, row.key, [this, kind = row.kind] {
            m_handles = kind;
            showHandles();
        });
}

/// Gives the scene's current object the handles that are chosen.
void MainWindow::showHandles()
{
    if (m_handles < 0) {
        m_scene->setManipulator(nullptr);
    } else {
        m_scene->setManipulator(new GL_Manipulator(GL_Manipulator::Kind(m_handles)));
        m_scene->setCurrentObject(m_scene->currentObject());
    }
    m_view->requestUpdate();
}

void MainWindow::tell(const QString& problem)
{
    if (!problem.isEmpty())
        QMessageBox::warning(this, "zylview", problem);
}

void MainWindow::showTitle()
{
    const QString name =
        m_fileName.isEmpty() ? QString("new scene") : QFileInfo(m_fileName).fileName();
    setWindowTitle(QString("%1%2 - zylview").arg(m_scene->isChanged() ? "*" : "", name));
}

QString MainWindow::open(const QString& fileName)
{
    const files::Format format = files::formatOfFile(fileName);
    if (format.kind != files::Kind::Scene)
        return QString("%1 isn't known as a scene").arg(fileName);
    auto scene = std::make_unique<GL_Scene>();
    Report report(fileName);
    const QString problem = files::loadScene(*scene, fileName, format.name, &report);
    if (!problem.isEmpty())
        return problem;
    m_tree->setScene(nullptr);
    m_properties->setNode(nullptr);
    m_view->viewer().makeCurrent();
    m_view->viewer().setScene(scene.get());
    m_scene.swap(scene);
    scene.reset();
    m_view->initializeScene();
    m_fileName = fileName;
    m_scene->setChanged(false);
    m_tree->setScene(m_scene.get());
    showHandles();
    m_timeline->setLength(m_scene->timeLength(), m_scene->autoPlay(), m_scene->loopPlay());
    statusBar()->showMessage(report.entries().empty()
                                 ? QString("read as %1").arg(QString(format.name))
                                 : QString("read as %1; %2 things were passed over")
                                       .arg(QString(format.name))
                                       .arg(report.entries().size()));
    showSelection();
    showTitle();
    return QString();
}

QString MainWindow::save(const QString& fileName)
{
    const files::Format format = files::formatForWriting(fileName);
    if (format.kind != files::Kind::Scene)
        return QString("%1: the ending doesn't name a format for a scene").arg(fileName);
    Report report(fileName);
    const QString problem = files::saveScene(*m_scene, fileName, format.name, false, &report);
    if (problem.isEmpty()) {
        m_fileName = fileName;
        m_scene->setChanged(false);
        statusBar()->showMessage(QString("saved as %1").arg(QString(format.name)));
        showTitle();
    }
    return problem;
}

QString MainWindow::exportPicture(const QString& fileName)
{
    const VImage picture = m_view->picture();
    return !picture.isNull() && picture.save(fileName, "PNG")
               ? QString()
               : QString("%1: can't be written").arg(fileName);
}

void MainWindow::selectFromTree()
{
    m_scene->setSelections(m_tree->selectedNodes());
    m_properties->setNode(m_scene->currentObject());
    m_view->requestUpdate();
}

void MainWindow::showSelection()
{
    m_tree->showSelection();
    m_properties->setNode(m_scene->currentObject());
    m_view->requestUpdate();
}

void MainWindow::deleteSelected()
{
    if (m_scene->selection().isEmpty())
        return;
    m_properties->setNode(nullptr);
    m_tree->setScene(nullptr);
    m_view->viewer().makeCurrent();
    m_scene->deleteObjects();
    m_scene->setChanged(true);
    m_tree->setScene(m_scene.get());
    m_view->requestUpdate();
    showTitle();
}

void MainWindow::give(int key, double value)
{
    m_scene->evaluate(key, value);
    m_properties->refresh();
    m_view->requestUpdate();
    showTitle();
}

bool MainWindow::mayLeave()
{
    if (!m_scene->isChanged())
        return true;
    const auto answer =
        QMessageBox::question(this, "zylview", "The scene was changed. Save it?",
                              QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    if (answer != QMessageBox::Save)
        return answer == QMessageBox::Discard;
    const QString name =
        m_fileName.isEmpty()
            ? QFileDialog::getSaveFileName(this, "Save the scene", m_fileName, fileFilter())
            : m_fileName;
    const QString problem = name.isEmpty() ? QString() : save(name);
    tell(problem);
    return !name.isEmpty() && problem.isEmpty();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    mayLeave() ? event->accept() : event->ignore();
}
