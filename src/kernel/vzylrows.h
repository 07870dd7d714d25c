#pragma once

#include <vector>

/// Rows of whole numbers of any lengths: the faces of a mesh, say. The text form is
/// `{ { 1, 2, 3 }, { 4 } }`; in the binary form the length of each row stands before its numbers,
/// all as one array in an octet string.
struct VZylRows {
    std::vector<int> numbers;
    std::vector<unsigned> ends; ///< of each row among the numbers

    unsigned size() const { return unsigned(ends.size()); }
    bool isEmpty() const { return ends.empty(); }
    unsigned begin(unsigned row) const { return row == 0 ? 0 : ends[row - 1]; }
    const int* data(unsigned row) const { return numbers.data() + begin(row); }
    unsigned length(unsigned row) const { return ends[row] - begin(row); }

    void clear()
    {
        numbers.clear();
        ends.clear();
    }
    /// Ends a row with the numbers since the last one.
    void endRow() { ends.push_back(unsigned(numbers.size())); }
};
