#pragma once
// An ordered, growable array of XMLNode handles. Elements are copies of handles, that is, shared
// nodes. An index out of range (or a negative size or count) throws std::out_of_range.

#include <cstdint>
#include <vector>

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

namespace torvex {

class XMLNodeArray {
public:
    /// An empty array; never fails.
    XMLNodeArray() = default;
    /// Copies the handles (the nodes are shared); throws only std::bad_alloc.
    XMLNodeArray(const XMLNodeArray&) = default;
    /// Takes the other's handles; never fails.
    XMLNodeArray(XMLNodeArray&&) noexcept = default;
    /// Copies the handles (the nodes are shared); throws only std::bad_alloc.
    XMLNodeArray& operator=(const XMLNodeArray&) = default;
    /// Takes the other's handles; never fails.
    XMLNodeArray& operator=(XMLNodeArray&&) noexcept = default;
    /// Releases the handles; never fails.
    virtual ~XMLNodeArray() = default;

    /// Number of elements; never fails.
    intptr_t GetSize() const noexcept { return static_cast<intptr_t>(items_.size()); }
    /// Number of elements; never fails.
    intptr_t GetCount() const noexcept { return GetSize(); }
    /// True without elements; never fails.
    bool IsEmpty() const noexcept { return items_.empty(); }
    /// Index of the last element, -1 when empty; never fails.
    intptr_t GetUpperBound() const noexcept { return GetSize() - 1; }
    /// Grows with empty nodes or shrinks to `newSize`; `growBy` is a capacity hint (-1 keeps the
    /// rule). Throws std::out_of_range for a negative size.
    void SetSize(intptr_t newSize, intptr_t growBy = -1);
    /// Removes all elements; never fails.
    void RemoveAll() noexcept { items_.clear(); }

    /// Throws std::out_of_range for a bad index.
    const XMLNode& GetAt(intptr_t index) const;
    /// Throws std::out_of_range for a bad index.
    XMLNode& GetAt(intptr_t index);
    /// Throws std::out_of_range for a bad index.
    void SetAt(intptr_t index, const XMLNode& node);
    /// Throws std::out_of_range for a bad index.
    XMLNode& ElementAt(intptr_t index);
    /// Throws std::out_of_range for a bad index.
    const XMLNode& ElementAt(intptr_t index) const;
    /// Throws std::out_of_range for a bad index.
    XMLNode& operator[](intptr_t index) { return ElementAt(index); }
    /// Throws std::out_of_range for a bad index.
    const XMLNode& operator[](intptr_t index) const { return GetAt(index); }
    /// The elements, contiguous; null when empty.
    XMLNode* GetData() noexcept { return items_.empty() ? nullptr : items_.data(); }
    /// The elements, contiguous; null when empty.
    const XMLNode* GetData() const noexcept { return items_.empty() ? nullptr : items_.data(); }

    /// Appends; answers the new element's index.
    intptr_t Add(const XMLNode& node);
    /// Appends all of `other`; answers the index of its first element (the old size). Throws
    /// std::out_of_range when `other` is this array.
    intptr_t Append(const XMLNodeArray& other);
    /// Becomes a copy of `other`; never fails (copying itself changes nothing).
    void Copy(const XMLNodeArray& other);
    /// Sets the element, growing the array with empty nodes when `index` is beyond the end.
    /// Throws std::out_of_range for a negative index.
    void SetAtGrow(intptr_t index, const XMLNode& node);
    /// Inserts `count` copies of `node` at `index` (beyond the end: the array grows with empty
    /// nodes first). Throws std::out_of_range for a negative index or a count below 1.
    void InsertAt(intptr_t index, const XMLNode& node, intptr_t count = 1);
    /// Inserts all elements of `other` at `startIndex`. Throws std::out_of_range for a null
    /// array or a negative index.
    void InsertAt(intptr_t startIndex, const XMLNodeArray* other);
    /// Removes `count` elements from `index`. Throws std::out_of_range when the range does not
    /// lie within the array or is negative.
    void RemoveAt(intptr_t index, intptr_t count = 1);
    /// Releases unused capacity; never fails.
    void FreeExtra() { items_.shrink_to_fit(); }

    /// `out` becomes the nodeName of each element in order; false at the first empty node, with
    /// the names so far (the rest of `out` then holds empty strings).
    bool GetNodeNames(WideStringList& out) const;

    // Range access for range-for loops.
    std::vector<XMLNode>::iterator begin() noexcept { return items_.begin(); }
    std::vector<XMLNode>::iterator end() noexcept { return items_.end(); }
    std::vector<XMLNode>::const_iterator begin() const noexcept { return items_.begin(); }
    std::vector<XMLNode>::const_iterator end() const noexcept { return items_.end(); }

private:
    std::vector<XMLNode> items_;
};

} // namespace torvex
