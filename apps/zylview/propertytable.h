#pragma once

#include <zyl/all/geometry.h>

#include <qtablewidget.h>

class GL_Object;

/// The values of one node, which can be changed here.
class PropertyTable : public QTableWidget
{
    Q_OBJECT
public:
    explicit PropertyTable(QWidget* parent = nullptr);

    /// Null shows nothing.
    void setNode(GL_Object* node);
    GL_Object* node() const { return m_node; }
    /// Shows the values anew.
    void refresh();

Q_SIGNALS:
    void changed();

private:
    void add(const QString& name, const QString& value,
             void (PropertyTable::*apply)(const QString&));
    void applyName(const QString& text);
    void applyColor(const QString& text);
    void applyPosition(const QString& text);
    void applyRotation(const QString& text);
    void applyScale(const QString& text);
    /// The three numbers of a text; false when it doesn't hold them.
    static bool vector(const QString& text, geometry::Vector3f& v);
    bool getMatrix(geometry::Matrix4f& matrix);
    void setParts();

    GL_Object* m_node = nullptr;
    geometry::Vector3f m_position;
    geometry::Vector3f m_degrees;
    geometry::Vector3f m_scale;
    QList<void (PropertyTable::*)(const QString&)> m_apply;
    bool m_filling = false;
};
