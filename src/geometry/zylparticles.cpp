#include "geometry/zylparticles.h"

#include <algorithm>
#include <cmath>

namespace physics
{
using geometry::Vector3f;

void RainParticle::enter(Raining& rain)
{
    const Raining::Fall fall = rain.fall();
    for (int i = 0; i < 3; ++i)
        position[i] = i == fall.axis ? fall.from : rain.between(rain.min[i], rain.max[i]);
    velocity = Vector3f();
    age = 0;
    isAlive = true;
}

void RainParticle::randomHeight(Raining& rain)
{
    enter(rain);
    const Raining::Fall fall = rain.fall();
    if (fall.time == 0) {
        position[fall.axis] = rain.between(rain.min[fall.axis], rain.max[fall.axis]);
        return;
    }
    const Vector3f start = position;
    move(rain.acceleration, rain.between(0, fall.time));
    for (int i = 0; i < 3; ++i)
        if (i != fall.axis)
            position[i] = start[i]; // where it is by chance anyway
}

// The random numbers start anew: a copy rains alike.
Raining::Raining(const Raining& other)
    : ParticleSystem(other), min(other.min), max(other.max), length(other.length)
{
}

Raining& Raining::operator=(const Raining& other)
{
    ParticleSystem::operator=(other);
    min = other.min;
    max = other.max;
    length = other.length;
    return *this;
}

Raining::~Raining() = default;

Raining::Fall Raining::fall() const
{
    Fall fall = {2, -1, 0, 0, 0};
    for (const int i : {1, 0})
        if (std::abs(acceleration[i]) > std::abs(acceleration[fall.axis]))
            fall.axis = i;
    const float a = acceleration[fall.axis];
    const auto [low, high] = std::minmax(min[fall.axis], max[fall.axis]);
    fall.sign = a > 0 ? 1.0f : -1.0f;
    fall.from = a > 0 ? low : high;
    fall.depth = high - low;
    const float time = std::sqrt(2 * fall.depth / std::abs(a));
    fall.time = time > 0 && time <= 3.4e38f ? time : 0;
    return fall;
}

Vector3f Raining::tail(const RainParticle& drop) const
{
    Vector3f direction = drop.velocity;
    if (!(direction.normalize() > 0)) {
        direction = acceleration;
        direction.normalize();
    }
    return drop.position - direction * length;
}

void Raining::moved(RainParticle& drop)
{
    const Fall f = fall();
    const float beyond = (drop.position[f.axis] - f.from) * f.sign - f.depth;
    if (!(beyond <= 0)) {
        // The time since it left, which the next drop has fallen.
        const float a = std::abs(acceleration[f.axis]);
        const float speed = std::abs(drop.velocity[f.axis]);
        const float atBorder = std::sqrt(std::max(speed * speed - 2 * a * beyond, 0.0f));
        const float since = (speed - atBorder) / a;
        drop.enter(*this);
        if (f.time > 0 && since > 0 && since <= 3.4e38f)
            drop.move(acceleration, std::fmod(since, f.time));
    }
    for (int i = 0; i < 3; ++i) {
        if (i == f.axis)
            continue;
        const auto [low, high] = std::minmax(min[i], max[i]);
        float& p = drop.position[i];
        if (p >= low && p <= high)
            continue;
        const float width = high - low;
        const float turns = std::floor((p - low) / width);
        p = std::clamp(p - turns * width, low, high);
        if (!(p == p))
            p = low;
    }
}
} // namespace physics
