#pragma once

#include <qtreewidget.h>

class GL_Object;
class GL_ObjectList;
class GL_Scene;

/// The nodes of a scene: its objects, lights and library. A group's children are listed when it is
/// opened, so that a large scene costs nothing before anyone looks.
class NodeTree : public QTreeWidget
{
    Q_OBJECT
public:
    explicit NodeTree(QWidget* parent = nullptr);

    /// Lists the scene anew; to be called before any of its nodes goes.
    void setScene(GL_Scene* scene);
    /// Shows the scene's selection.
    void showSelection();
    /// What the tree's own selection holds.
    GL_ObjectList selectedNodes() const;
    /// Shows the present names of the nodes listed.
    void refreshNames();

Q_SIGNALS:
    void nodesSelected();

private:
    void addNodes(QTreeWidgetItem* parent, const GL_ObjectList& nodes);
    void fill(QTreeWidgetItem* item);
    /// The item of a node, opening what is above it.
    QTreeWidgetItem* itemOf(GL_Object* node);

    GL_Scene* m_scene = nullptr;
    bool m_showing = false;
};
