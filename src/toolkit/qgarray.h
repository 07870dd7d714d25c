#pragma once

#include "toolkit/zylexport.h"

inline namespace toolkit_v1
{
/// The untyped part of QMemArray: a reference to one counted block of raw bytes. All lengths here
/// are in bytes.
///
/// Sharing is explicit: what is done to the block, a change of its length included, shows in every
/// array that refers to it. Only `detach`, `duplicate`, `assign` and `setRawData` part an array
/// from the others.
class ZYL_EXPORT QGArray
{
protected:
    QGArray() = default;
    QGArray(const QGArray& other) : m_block(other.share()) {}
    QGArray(QGArray&& other) noexcept : m_block(other.m_block) { other.m_block = nullptr; }
    ~QGArray() { release(); }
    QGArray& operator=(const QGArray& other);
    QGArray& operator=(QGArray&& other) noexcept;

    char* bytes() const { return m_block ? m_block->data : nullptr; }
    unsigned byteCount() const { return m_block ? m_block->size : 0; }
    unsigned references() const { return m_block ? m_block->references : 1; }

    /// False, with nothing changed, when there is no memory. Zero bytes free the block's memory.
    bool resizeBytes(unsigned bytes);
    /// Like `resizeBytes`, and leaves room so that many small steps stay linear.
    bool growBytes(unsigned bytes);
    void detachBytes();
    void assignBytes(char* data, unsigned bytes, bool borrowed);
    void duplicateBytes(const char* data, unsigned bytes);
    void resetRawBytes(const char* data, unsigned bytes);
    bool fillBytes(const char* item, int count, unsigned itemSize);
    int findBytes(const char* item, unsigned index, unsigned itemSize) const;
    int countBytes(const char* item, unsigned itemSize) const;
    void sortBytes(unsigned itemSize);
    int searchBytes(const char* item, unsigned itemSize) const;
    bool equalBytes(const QGArray& other) const;
    static void warnIndex(unsigned long index);

private:
    struct Block {
        unsigned references = 1;
        unsigned size = 0;
        unsigned capacity = 0; // of the memory behind data, which may be more than is in use
        bool borrowed = false; // the memory is the caller's
        char* data = nullptr;
    };

    Block* share() const;
    Block* own();
    void release();
    static void freeData(Block* block);
    bool reallocate(unsigned bytes, unsigned capacity);

    // Made late: an array without one is null, and stands in no one else's way.
    mutable Block* m_block = nullptr;
};
} // namespace toolkit_v1
