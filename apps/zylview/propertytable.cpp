#include "zylview/propertytable.h"

#include <zyl/all/kernel.h>
#include <zyl/all/opengl.h>

#include <qheaderview.h>
#include <qregularexpression.h>

#include <cmath>

namespace
{
constexpr float degree = 0.017453292519943295f;

QString text(const geometry::Vector3f& v)
{
    return QString("%1, %2, %3").arg(v.x).arg(v.y).arg(v.z);
}
} // namespace

PropertyTable::PropertyTable(QWidget* parent) : QTableWidget(0, 2, parent)
{
    setHorizontalHeaderLabels({"Property", "Value"});
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
    connect(this, &QTableWidget::cellChanged, this, [this](int row, int column) {
        if (m_filling || !m_node || column != 1 || !m_apply.value(row))
            return;
        (this->*m_apply[row])(item(row, 1)->text());
        refresh();
        Q_EMIT changed();
    });
}

void PropertyTable::setNode(GL_Object* node)
{
    m_node = node;
    refresh();
}

void PropertyTable::add(const QString& name, const QString& value,
                        void (PropertyTable::*apply)(const QString&))
{
    const int row = rowCount();
    insertRow(row);
    auto* const title = new QTableWidgetItem(name);
    title->setFlags(Qt::ItemIsEnabled);
    setItem(row, 0, title);
    auto* const field = new QTableWidgetItem(value);
    if (!apply)
        field->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    setItem(row, 1, field);
    m_apply.append(apply);
}

bool PropertyTable::getMatrix(geometry::Matrix4f& matrix)
{
    VActionEvent event(VActionEvent::GetTransform, &matrix);
    // A group that has no matrix of its own would ask its children.
    const bool isPlainGroup = m_node->metaObject() == &GL_Group::metaClass ||
                              m_node->metaObject() == &GL_Block::metaClass;
    return !isPlainGroup && m_node->event(&event);
}

void PropertyTable::refresh()
{
    m_filling = true;
    setRowCount(0);
    m_apply.clear();
    if (m_node) {
        add("Class", QString::fromLatin1(m_node->className()), nullptr);
        add("Name", QString::fromLocal8Bit(m_node->name("")), &PropertyTable::applyName);
        add("Colour", QString("#%1").arg(m_node->color().pixel(), 8, 16, QLatin1Char('0')),
            &PropertyTable::applyColor);
        geometry::Matrix4f matrix;
        if (getMatrix(matrix)) {
            geometry::Quaternion rotation, axes;
            matrix.getTransform(m_position, rotation, m_scale, axes);
            rotation.getValue(m_degrees.x, m_degrees.y, m_degrees.z);
            m_degrees = m_degrees * (1 / degree);
            add("Position", text(m_position), &PropertyTable::applyPosition);
            add("Rotation", text(m_degrees), &PropertyTable::applyRotation);
            add("Scale", text(m_scale), &PropertyTable::applyScale);
        }
        if (m_node->inherits(&GL_Shape::metaClass)) {
            const GL_Material* const material = static_cast<GL_Shape*>(m_node)->material();
            add("Material", material ? QString::fromLocal8Bit(material->name()) : QString(),
                nullptr);
        }
        geometry::Box3f box;
        m_node->bounds(box);
        if (!box.isEmpty())
            add("Bounds", text(box.min) + "  to  " + text(box.max), nullptr);
        add("Flags", QString("0x%1").arg(m_node->flags() & GL_Object::StoredMask, 0, 16), nullptr);
    }
    m_filling = false;
}

bool PropertyTable::vector(const QString& text, geometry::Vector3f& v)
{
    const QStringList parts = text.split(QRegularExpression("[,\\s]+"), Qt::SkipEmptyParts);
    if (parts.size() != 3)
        return false;
    float numbers[3];
    for (int i = 0; i < 3; ++i) {
        bool isNumber = false;
        numbers[i] = parts[i].toFloat(&isNumber);
        if (!isNumber || !std::isfinite(numbers[i]))
            return false;
    }
    v = geometry::Vector3f(numbers[0], numbers[1], numbers[2]);
    return true;
}

void PropertyTable::setParts()
{
    geometry::Quaternion rotation;
    rotation.setValue(m_degrees.x * degree, m_degrees.y * degree, m_degrees.z * degree);
    geometry::Matrix4f matrix;
    matrix.translate(m_position);
    matrix.rotate(rotation);
    matrix.scale(m_scale);
    VActionEvent event(VActionEvent::SetTransform, &matrix);
    m_node->event(&event);
}

void PropertyTable::applyName(const QString& text)
{
    m_node->setName(text.isEmpty() ? nullptr : text.toLocal8Bit().constData());
}

void PropertyTable::applyColor(const QString& text)
{
    bool isNumber = false;
    const quint32 pixel = text.mid(1).toUInt(&isNumber, 16);
    VColor color =
        text.size() == 9 && text.startsWith('#') && isNumber ? VColor(pixel) : VColor(text);
    if (!color.isValid())
        return;
    VActionEvent event(VActionEvent::SetColor, &color);
    m_node->event(&event);
}

void PropertyTable::applyPosition(const QString& text)
{
    if (vector(text, m_position))
        setParts();
}

void PropertyTable::applyRotation(const QString& text)
{
    if (vector(text, m_degrees))
        setParts();
}

void PropertyTable::applyScale(const QString& text)
{
    if (vector(text, m_scale))
        setParts();
}
