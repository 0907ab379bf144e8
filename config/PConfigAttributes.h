// SPDX-License-Identifier: MIT
// PConfigAttributes: the attributes of a key.
#ifndef IXLAL_PCONFIGATTRIBUTES_H
#define IXLAL_PCONFIGATTRIBUTES_H

#include "config/PConfigText.h"

#include <atomic>
#include <memory>
#include <vector>

/// An attribute with its texts behind it.
struct PConfigAttribute
{
    /// Throws std::bad_alloc.
    static PConfigAttribute* _create(const PLiteral& iName, const PLiteral& iText);

    /// Frees what _create has allocated.
    struct Free
    {
        void operator()(const PConfigAttribute* iAttribute) const noexcept
        {
            iAttribute->~PConfigAttribute();
            ::operator delete(const_cast<PConfigAttribute*>(iAttribute));
        }
    };

    const PConfigName name;
    const PConfigName text;

private:
    PConfigAttribute(const PLiteral& iName, const PLiteral& iText, wchar_t* oMemory) noexcept
        : name(iName, oMemory), text(iText, oMemory + iName.len() + 1)
    {
    }
};

/// Texts by name, in the order of the names. Most keys have none, so the table is made for the
/// first one. Not synchronised, except for the mark of a pinned value.
class PConfigAttributes
{
public:
    typedef std::vector<std::unique_ptr<const PConfigAttribute, PConfigAttribute::Free>> Table;

    bool empty() const noexcept
    {
        return !fContent || fContent->all.empty();
    }

    ///@{
    /// Whether a reader has found the attribute "const" to be true: a cache that readers set at the
    /// same time as others, while there are attributes, and that is never cleared.
    bool isPinned() const noexcept
    {
        return fContent && fContent->pinned.load(std::memory_order_relaxed);
    }

    void markPinned() noexcept
    {
        fContent->pinned.store(true, std::memory_order_relaxed);
    }
    ///@}

    /// Returns null for none.
    const PLiteral* find(const PLiteral& iName) const noexcept;

    /// Adds an attribute unless it is present. Throws std::bad_alloc, with no attribute added.
    void add(const PLiteral& iName, const PLiteral& iText);

    /// Removes an attribute if it is present.
    void remove(const PLiteral& iName) noexcept;

    void swap(PConfigAttributes& ioOther) noexcept
    {
        fContent.swap(ioOther.fContent);
    }

    const Table& all() const noexcept;

private:
    struct Content
    {
        Table all;
        std::atomic<bool> pinned{false}; ///< in relaxed order: it repeats what "all" says
    };

    std::unique_ptr<Content> fContent;
};

#endif
