#pragma once

#include <zyl/all/opengl.h>

#include <qmainwindow.h>

#include <memory>

class NodeTree;
class PropertyTable;
class QtViewer;
class Timeline;

/// The viewer's window: one scene, its nodes, the values of the selected one, and its time.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    MainWindow();
    ~MainWindow() override;

    // Each returns an empty text, or why it didn't work.
    QString open(const QString& fileName);
    QString save(const QString& fileName);
    QString exportPicture(const QString& fileName);

    GL_Scene& scene() { return *m_scene; }
    QtViewer& view() { return *m_view; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void makeMenus();
    void tell(const QString& problem);
    void showTitle();
    void selectFromTree();
    void showSelection();
    void showHandles();
    void deleteSelected();
    void give(int key, double value);
    /// Whether the scene may go: it is unchanged, saved, or given up.
    bool mayLeave();

    std::unique_ptr<GL_Scene> m_scene;
    QtViewer* m_view; // owned by its container
    NodeTree* m_tree;
    PropertyTable* m_properties;
    Timeline* m_timeline;
    QString m_fileName;
    int m_handles = -1; // kind of the manipulator
};
