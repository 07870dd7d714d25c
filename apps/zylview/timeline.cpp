#include "zylview/timeline.h"

#include <qboxlayout.h>
#include <qlabel.h>
#include <qpushbutton.h>
#include <qslider.h>
#include <qspinbox.h>
#include <qtoolbutton.h>

#include <algorithm>
#include <cmath>

namespace
{
constexpr int steps = 10000; // of the slider
constexpr int frameMs = 33;
} // namespace

Timeline::Timeline(QWidget* parent)
    : QWidget(parent), m_play(new QToolButton), m_slider(new QSlider(Qt::Horizontal)),
      m_label(new QLabel), m_key(new QSpinBox), m_value(new QDoubleSpinBox)
{
    m_play->setText("Play");
    m_play->setCheckable(true);
    m_slider->setRange(0, steps);
    m_key->setRange(0, 1000000);
    m_value->setRange(-1e9, 1e9);
    m_value->setDecimals(3);
    m_value->setSingleStep(0.1);
    auto* const give = new QPushButton("Set");
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(4, 2, 4, 2);
    row->addWidget(m_play);
    row->addWidget(m_slider, 1);
    row->addWidget(m_label);
    row->addSpacing(16);
    row->addWidget(new QLabel("Key"));
    row->addWidget(m_key);
    row->addWidget(new QLabel("value"));
    row->addWidget(m_value);
    row->addWidget(give);
    m_timer.setInterval(frameMs);
    connect(&m_timer, &QTimer::timeout, this, &Timeline::step);
    connect(m_play, &QToolButton::toggled, this, &Timeline::setPlaying);
    connect(m_slider, &QSlider::valueChanged, this,
            [this](int position) { setTime(m_length * position / steps); });
    connect(give, &QPushButton::clicked, this,
            [this] { Q_EMIT valueGiven(m_key->value(), m_value->value()); });
    setLength(0, false, false);
}

void Timeline::setLength(double seconds, bool play, bool loop)
{
    m_length = std::isfinite(seconds) ? std::max(seconds, 0.0) : 0;
    m_loop = loop;
    m_time = 0;
    const QSignalBlocker blocker(m_slider);
    m_slider->setValue(0);
    m_slider->setEnabled(m_length > 0);
    m_play->setEnabled(m_length > 0);
    m_label->setText(m_length > 0 ? QString("0.0 of %1 s").arg(m_length) : QString("no time"));
    setPlaying(play && m_length > 0);
}

void Timeline::setPlaying(bool playing)
{
    m_play->setChecked(playing);
    if (playing) {
        m_clock.start();
        m_timer.start();
    } else {
        m_timer.stop();
    }
}

void Timeline::step()
{
    double next = m_time + double(m_clock.restart()) / 1000;
    if (next > m_length) {
        next = m_loop ? std::fmod(next, m_length) : m_length;
        if (!m_loop)
            setPlaying(false);
    }
    setTime(next);
}

void Timeline::setTime(double seconds)
{
    m_time = std::clamp(seconds, 0.0, m_length);
    const QSignalBlocker blocker(m_slider);
    m_slider->setValue(m_length > 0 ? int(m_time / m_length * steps) : 0);
    m_label->setText(QString("%1 of %2 s").arg(m_time, 0, 'f', 1).arg(m_length));
    Q_EMIT valueGiven(0, m_time);
}
