#pragma once

#include <QHashFunctions>
#include <QString>

#include <utility>
#include <vector>

/// A table of values by name for the tag pass, where a hundred thousand
/// names come in and each is looked up in several tables: the caller hashes
/// a name once and hands the hash to every table. Open addressing over one
/// array of (hash, index) pairs; the names and their values lie in a second
/// array in the order they came, so that a probe touches no string unless
/// the hashes agree. Nothing is ever removed but by clear(). A slot keeps
/// the low half of the hash and a 32-bit index: the probes touch every page
/// of the slots, and half the pages are half the faults of a first pass.
template<typename Value>
class QAStNameTable
{
public:
    // Any seed but zero: with zero the library passes over its fastest hash.
    static size_t hashOf(const QString& name) { return qHash(name, size_t(0x9e3779b97f4a7c15ULL)); }

    void clear()
    {
        _slots.clear();
        _named.clear();
    }

    void reserve(qsizetype count)
    {
        _named.reserve(size_t(count));
        size_t wanted = 16;
        while (wanted < size_t(count) * 2)
            wanted *= 2;
        if (wanted > _slots.size())
            rehash(wanted);
    }

    qsizetype size() const { return qsizetype(_named.size()); }

    /// The value of \a name, or null.
    const Value* find(const QString& name, size_t hash) const
    {
        if (_slots.empty())
            return nullptr;
        const size_t mask = _slots.size() - 1;
        const quint32 low = quint32(hash);
        for (size_t at = low & mask;; at = (at + 1) & mask) {
            const Slot& slot = _slots[at];
            if (slot.index < 0)
                return nullptr;
            if (slot.hash == low && _named[size_t(slot.index)].first == name)
                return &_named[size_t(slot.index)].second;
        }
    }
    const Value* find(const QString& name) const { return find(name, hashOf(name)); }

    /// The value of \a name, made with its default when new. The reference
    /// holds until the next new name.
    Value& obtain(const QString& name, size_t hash)
    {
        if ((_named.size() + 1) * 2 > _slots.size())
            rehash(_slots.empty() ? 16 : _slots.size() * 2);
        const size_t mask = _slots.size() - 1;
        const quint32 low = quint32(hash);
        size_t at = low & mask;
        for (;; at = (at + 1) & mask) {
            const Slot& slot = _slots[at];
            if (slot.index < 0)
                break;
            if (slot.hash == low && _named[size_t(slot.index)].first == name)
                return _named[size_t(slot.index)].second;
        }
        _slots[at] = {low, qint32(_named.size())};
        _named.emplace_back(name, Value());
        return _named.back().second;
    }
    Value& obtain(const QString& name) { return obtain(name, hashOf(name)); }

private:
    struct Slot {
        quint32 hash = 0;
        qint32 index = -1;
    };

    void rehash(size_t count)
    {
        std::vector<Slot> table(count);
        const size_t mask = count - 1;
        for (const Slot& slot : _slots) {
            if (slot.index < 0)
                continue;
            size_t at = slot.hash & mask;
            while (table[at].index >= 0)
                at = (at + 1) & mask;
            table[at] = slot;
        }
        _slots.swap(table);
    }

    std::vector<Slot> _slots;
    std::vector<std::pair<QString, Value>> _named;
};
