#pragma once

#include <qelapsedtimer.h>
#include <qtimer.h>
#include <qwidget.h>

class QDoubleSpinBox;
class QLabel;
class QSlider;
class QSpinBox;
class QToolButton;

/// The scene's time, played or set by hand, and single values for its other keys.
class Timeline : public QWidget
{
    Q_OBJECT
public:
    explicit Timeline(QWidget* parent = nullptr);

    /// A length of 0 leaves nothing to play.
    void setLength(double seconds, bool play, bool loop);
    double time() const { return m_time; }
    void setTime(double seconds);
    void setPlaying(bool playing);

Q_SIGNALS:
    /// A value for the scene's actions; time is key 0.
    void valueGiven(int key, double value);

private:
    void step();

    QToolButton* m_play;
    QSlider* m_slider;
    QLabel* m_label;
    QSpinBox* m_key;
    QDoubleSpinBox* m_value;
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_length = 0;
    double m_time = 0;
    bool m_loop = false;
};
