#pragma once

#include "MBlockAllocator.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace ZOLAR3D {

// The hash of a key of MBlockMap: an int is its own hash; a key class provides
// `unsigned hash() const`.
template <class K>
struct MBlockHash {
    unsigned operator()(const K &key) const { return key.hash(); }
};

template <>
struct MBlockHash<int> {
    unsigned operator()(int key) const { return static_cast<unsigned>(key); }
};

// A hash table with chaining whose nodes come from a block allocator. It never
// grows by itself: the owner sizes the bucket table (and the block size) for
// the expected number of entries before filling it. Insertion does not look
// for an existing key, and links the new node at the head of its chain, so a
// lookup finds the most recent entry of a key first.
template <class K, class V>
class ZOL3D_API MBlockMap {
public:
    struct Node {
        K key;
        V value;
        Node *next;
    };

    // A bucket count below 1 is taken as 1: the table is never without a bucket.
    explicit MBlockMap(int bucketCount) : m_buckets(validBucketCount(bucketCount), nullptr) {}
    MBlockMap(const MBlockMap &) = delete;
    MBlockMap &operator=(const MBlockMap &) = delete;

    // Re-chains the entries already there, keeping each chain's order.
    void resizeBuckets(int bucketCount)
    {
        std::vector<Node *> old(validBucketCount(bucketCount), nullptr);
        old.swap(m_buckets);
        std::vector<Node **> tails(m_buckets.size());
        for (std::size_t b = 0; b < tails.size(); ++b)
            tails[b] = &m_buckets[b];
        for (Node *node : old) {
            while (node) {
                Node *next = node->next;
                Node **&tail = tails[bucketOf(node->key)];
                node->next = nullptr;
                *tail = node;
                tail = &node->next;
                node = next;
            }
        }
    }

    void setBlockSize(int n) { m_nodes.setBlockSize(n); }

    V &insert(const K &key, const V &value)
    {
        Node *&head = m_buckets[bucketOf(key)];
        head = new (m_nodes.allocate()) Node{key, value, head};
        ++m_count;
        return head->value;
    }

    V *find(const K &key) { return const_cast<V *>(std::as_const(*this).find(key)); }

    const V *find(const K &key) const
    {
        for (const Node *node = m_buckets[bucketOf(key)]; node; node = node->next)
            if (node->key == key)
                return &node->value;
        return nullptr;
    }

    // Empties the table and frees the nodes; the bucket count stays.
    void clear()
    {
        std::fill(m_buckets.begin(), m_buckets.end(), nullptr);
        m_nodes.clear();
        m_count = 0;
    }

    int size() const { return m_count; }
    int bucketCount() const { return static_cast<int>(m_buckets.size()); }

    // Visits every entry as (key, value), bucket by bucket, newest first within
    // a bucket.
    template <class Visit>
    void forEach(Visit &&visit)
    {
        for (Node *node : m_buckets)
            for (; node; node = node->next)
                visit(std::as_const(node->key), node->value);
    }

private:
    static std::size_t validBucketCount(int n) { return n < 1 ? 1 : static_cast<std::size_t>(n); }

    std::size_t bucketOf(const K &key) const { return MBlockHash<K>()(key) % static_cast<unsigned>(m_buckets.size()); }

    std::vector<Node *> m_buckets;
    MBlockAllocator<Node> m_nodes;
    int m_count = 0;
};

extern template class MBlockMap<int, int>;
extern template class MBlockAllocator<MBlockMap<int, int>::Node>;

} // namespace ZOLAR3D
