#pragma once

#include <initializer_list>
#include <string>
#include <vector>

/// Writes down the GL calls of the library, of GLU and of the test itself in its block, which go on
/// to GL all the same. A program that uses it has its own definitions of these functions, found
/// before those of GL; see the source for which.
class GLRecorder
{
public:
    GLRecorder();
    ~GLRecorder();
    GLRecorder(const GLRecorder&) = delete;
    GLRecorder& operator=(const GLRecorder&) = delete;

    /// All calls so far, oldest first, as "glName(argument, ...)", and forgets them. Arrays stand
    /// in braces, enumerants by name; numbers have six digits, and none is smaller than 0.000001.
    std::vector<std::string> take();
    /// The same of these functions alone; the others are forgotten too.
    std::vector<std::string> take(std::initializer_list<const char*> functions);
    /// How often a function was called since the last `take`.
    int count(const char* function) const;

    /// Enters something else among the calls, while one records.
    static void add(std::string call);
    static bool isActive();

private:
    std::vector<std::string> m_calls;
    GLRecorder* m_outer;
};
