#pragma once

#include "geometry/zylvector.h"
#include "math/random.h"

#include <vector>

namespace physics
{
/// A point that falls freely.
struct ZYL_EXPORT Particle {
    geometry::Vector3f position;
    geometry::Vector3f velocity; // units a second
    float age = 0;               // seconds
    bool isAlive = true;

    /// Exact for any time as long as the acceleration doesn't change.
    void move(const geometry::Vector3f& acceleration, float seconds)
    {
        position += (velocity + acceleration * (seconds * 0.5f)) * seconds;
        velocity += acceleration * seconds;
        age += seconds;
    }
};

/// Particles under one acceleration, made at the first update and moved by each.
///
/// A subclass says how a particle starts and what becomes of one after each move. `P` is a
/// `Particle` or derived from it.
template <class P>
class ZYL_EXPORT ParticleSystem
{
public:
    /// However many are asked for, so many there are at most.
    static constexpr int mostParticles = 1 << 20;

    virtual ~ParticleSystem() = default;

    const std::vector<P>& particles() const { return m_particles; }
    void clear() { m_particles.clear(); }

    /// Makes or drops particles until there are `number`, and moves those that live. Times that
    /// aren't positive and finite move nothing.
    void update(float seconds)
    {
        const int wanted = number < 0 ? 0 : number < mostParticles ? number : mostParticles;
        if (m_particles.size() > std::size_t(wanted))
            m_particles.resize(std::size_t(wanted));
        m_particles.reserve(std::size_t(wanted));
        while (m_particles.size() < std::size_t(wanted)) {
            m_particles.emplace_back();
            start(m_particles.back());
        }
        if (!(seconds > 0) || !(seconds <= 3.4e38f))
            return;
        for (P& particle : m_particles) {
            if (!particle.isAlive)
                continue;
            particle.move(acceleration, seconds);
            moved(particle);
        }
    }

    int number = 100;
    geometry::Vector3f acceleration{0, 0, -9.8f};

protected:
    ParticleSystem() = default;
    ParticleSystem(const ParticleSystem&) = default;
    ParticleSystem& operator=(const ParticleSystem&) = default;

    /// Sets up a particle in its first state.
    virtual void start(P& particle) = 0;
    /// After each move; may start the particle anew, or end its life.
    virtual void moved(P& particle) = 0;

private:
    std::vector<P> m_particles;
};

class Raining;

/// A drop of rain.
struct ZYL_EXPORT RainParticle : Particle {
    /// At rest somewhere on the side of the volume where drops come in.
    void enter(Raining& rain);
    /// Somewhere on its way, as if it had rained for long: all times since it came in are equally
    /// likely.
    void randomHeight(Raining& rain);
};
static_assert(sizeof(RainParticle) <= 60, "rain is many drops");

/// Rain in an upright volume. Drops start at rest, fall with the acceleration, and leave on the
/// side that the greatest component of it points to, to come in again on the other. Those that
/// leave elsewhere come in opposite at once, so that a wind thins no side out.
class ZYL_EXPORT Raining : public ParticleSystem<RainParticle>
{
public:
    Raining() = default;
    Raining(const Raining& other);
    Raining& operator=(const Raining& other);
    ~Raining() override;

    /// The end of a drop's streak, behind it by `length`.
    geometry::Vector3f tail(const RainParticle& drop) const;

    // Corners in any order.
    geometry::Vector3f min{-1, -1, -1};
    geometry::Vector3f max{1, 1, 1};
    float length = 0.1f;

protected:
    void start(RainParticle& drop) override { drop.randomHeight(*this); }
    void moved(RainParticle& drop) override;

private:
    friend struct RainParticle;

    /// The way of the drops through the volume.
    struct Fall {
        int axis;
        float sign;  // of the acceleration on it
        float from;  // where drops come in
        float depth; // of the volume
        float time;  // that a drop takes, 0 where it takes none or for ever
    };
    Fall fall() const;
    float between(float a, float b) { return a + (b - a) * float(m_random.real()); }

    math::Random m_random{1}; // all rain is alike, so that pictures can be repeated
};
} // namespace physics
