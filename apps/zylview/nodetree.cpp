#include "zylview/nodetree.h"

#include <zyl/all/opengl.h>

namespace
{
constexpr int nodeRole = Qt::UserRole;
constexpr int filledRole = Qt::UserRole + 1;

GL_Object* nodeOf(const QTreeWidgetItem* item)
{
    return static_cast<GL_Object*>(item->data(0, nodeRole).value<void*>());
}

QString label(const GL_Object& node)
{
    const char* const name = node.name(nullptr);
    const QString kind = QString::fromLatin1(node.className());
    return name ? QString("%1  (%2)").arg(QString::fromLocal8Bit(name), kind)
                : QString("(%1)").arg(kind);
}
} // namespace

NodeTree::NodeTree(QWidget* parent) : QTreeWidget(parent)
{
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setSelectionMode(ExtendedSelection);
    connect(this, &QTreeWidget::itemExpanded, this, &NodeTree::fill);
    connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
        if (!m_showing)
            Q_EMIT nodesSelected();
    });
}

void NodeTree::setScene(GL_Scene* scene)
{
    m_showing = true;
    clear();
    m_scene = scene;
    if (scene) {
        const std::pair<const char*, const GL_ObjectList*> lists[] = {
            {"Objects", &scene->objects()},
            {"Lights", &scene->lights()},
            {"Library", &scene->library()}};
        for (const auto& [title, nodes] : lists) {
            auto* const top = new QTreeWidgetItem(this, {QString::fromLatin1(title)});
            top->setFlags(Qt::ItemIsEnabled);
            addNodes(top, *nodes);
            top->setData(0, filledRole, true);
            top->setExpanded(top->childCount() > 0 && top->childCount() < 100);
        }
    }
    m_showing = false;
}

void NodeTree::addNodes(QTreeWidgetItem* parent, const GL_ObjectList& nodes)
{
    QList<QTreeWidgetItem*> items;
    for (GL_Object* node : nodes) {
        auto* const item = new QTreeWidgetItem({label(*node)});
        item->setData(0, nodeRole, QVariant::fromValue(static_cast<void*>(node)));
        if (node->inherits(&GL_Group::metaClass) &&
            !static_cast<GL_Group*>(node)->children().isEmpty())
            item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
        items.append(item);
    }
    parent->addChildren(items);
}

void NodeTree::fill(QTreeWidgetItem* item)
{
    GL_Object* const node = nodeOf(item);
    if (!node || item->data(0, filledRole).toBool() || !node->inherits(&GL_Group::metaClass))
        return;
    item->setData(0, filledRole, true);
    addNodes(item, static_cast<GL_Group*>(node)->children());
}

QTreeWidgetItem* NodeTree::itemOf(GL_Object* node)
{
    std::vector<GL_Object*> path;
    for (GL_Object* at = node; at; at = at->parent())
        path.push_back(at);
    for (int i = 0; i < topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = topLevelItem(i);
        for (auto step = path.rbegin(); item && step != path.rend(); ++step) {
            fill(item);
            QTreeWidgetItem* found = nullptr;
            for (int k = 0; k < item->childCount() && !found; ++k)
                if (nodeOf(item->child(k)) == *step)
                    found = item->child(k);
            item = found;
        }
        if (item && !path.empty())
            return item;
    }
    return nullptr;
}

void NodeTree::showSelection()
{
    if (!m_scene)
        return;
    m_showing = true;
    clearSelection();
    for (GL_Object* node : m_scene->selection()) {
        if (QTreeWidgetItem* const item = itemOf(node)) {
            item->setSelected(true);
            scrollToItem(item);
        }
    }
    m_showing = false;
}

GL_ObjectList NodeTree::selectedNodes() const
{
    GL_ObjectList nodes;
    for (const QTreeWidgetItem* item : selectedItems())
        if (GL_Object* const node = nodeOf(item))
            nodes.append(node);
    return nodes;
}

void NodeTree::refreshNames()
{
    for (QTreeWidgetItemIterator it(this); *it; ++it)
        if (const GL_Object* const node = nodeOf(*it))
            (*it)->setText(0, label(*node));
}
