#include "torvex/xml/XMLNodeArray.h"

#include <stdexcept>

namespace torvex {

namespace {

[[noreturn]] void Invalid(const char* what) {
    throw std::out_of_range(what);
}

} // namespace

void XMLNodeArray::SetSize(intptr_t newSize, intptr_t growBy) {
    if (newSize < 0) {
        Invalid("XMLNodeArray::SetSize: negative size");
    }
    if (growBy > 0 && static_cast<size_t>(newSize) > items_.capacity()) {
        items_.reserve(static_cast<size_t>(newSize + growBy));
    }
    items_.resize(static_cast<size_t>(newSize));
}

const XMLNode& XMLNodeArray::GetAt(intptr_t index) const {
    if (index < 0 || index >= GetSize()) {
        Invalid("XMLNodeArray: index out of range");
    }
    return items_[static_cast<size_t>(index)];
}

XMLNode& XMLNodeArray::GetAt(intptr_t index) {
    if (index < 0 || index >= GetSize()) {
        Invalid("XMLNodeArray: index out of range");
    }
    return items_[static_cast<size_t>(index)];
}

void XMLNodeArray::SetAt(intptr_t index, const XMLNode& node) {
    GetAt(index) = node;
}

XMLNode& XMLNodeArray::ElementAt(intptr_t index) {
    return GetAt(index);
}

const XMLNode& XMLNodeArray::ElementAt(intptr_t index) const {
    return GetAt(index);
}

intptr_t XMLNodeArray::Add(const XMLNode& node) {
    items_.push_back(node);
    return GetSize() - 1;
}

intptr_t XMLNodeArray::Append(const XMLNodeArray& other) {
    if (&other == this) {
        Invalid("XMLNodeArray::Append: an array can't be appended to itself");
    }
    intptr_t start = GetSize();
    items_.insert(items_.end(), other.items_.begin(), other.items_.end());
    return start;
}

void XMLNodeArray::Copy(const XMLNodeArray& other) {
    if (&other != this) {
        items_ = other.items_;
    }
}

void XMLNodeArray::SetAtGrow(intptr_t index, const XMLNode& node) {
    if (index < 0) {
        Invalid("XMLNodeArray::SetAtGrow: negative index");
    }
    if (index >= GetSize()) {
        XMLNode copy = node; // `node` may be an element of this array
        items_.resize(static_cast<size_t>(index) + 1);
        items_[static_cast<size_t>(index)] = copy;
        return;
    }
    items_[static_cast<size_t>(index)] = node;
}

void XMLNodeArray::InsertAt(intptr_t index, const XMLNode& node, intptr_t count) {
    if (index < 0 || count < 1) {
        Invalid("XMLNodeArray::InsertAt: bad index or count");
    }
    XMLNode copy = node; // `node` may be an element of this array
    if (index > GetSize()) {
        items_.resize(static_cast<size_t>(index));
    }
    items_.insert(items_.begin() + index, static_cast<size_t>(count), copy);
}

void XMLNodeArray::InsertAt(intptr_t startIndex, const XMLNodeArray* other) {
    if (other == nullptr || startIndex < 0) {
        Invalid("XMLNodeArray::InsertAt: null array or negative index");
    }
    if (other->IsEmpty()) {
        return;
    }
    std::vector<XMLNode> copy = other->items_; // `other` may be this array
    if (startIndex > GetSize()) {
        items_.resize(static_cast<size_t>(startIndex));
    }
    items_.insert(items_.begin() + startIndex, copy.begin(), copy.end());
}

void XMLNodeArray::RemoveAt(intptr_t index, intptr_t count) {
    if (index < 0 || count < 0 || index > GetSize() || count > GetSize() - index) {
        Invalid("XMLNodeArray::RemoveAt: range outside the array");
    }
    items_.erase(items_.begin() + index, items_.begin() + index + count);
}

bool XMLNodeArray::GetNodeNames(WideStringList& out) const {
    out.assign(items_.size(), WideString());
    for (size_t i = 0; i < items_.size(); ++i) {
        if (!items_[i].GetNodeName(out[i])) {
            return false;
        }
    }
    return true;
}

} // namespace torvex
