#pragma once

#include "MBlockAllocator.h"

#include <algorithm>
#include <utility>
#include <vector>

#if defined(_MSC_VER)
#include <xmmintrin.h>
#endif

namespace ZOLAR3D {

namespace detail {

// Asks the processor to start loading the cache line at p.
inline void prefetchLine(const void *p)
{
#if defined(_MSC_VER)
    _mm_prefetch(static_cast<const char *>(p), _MM_HINT_T0);
#else
    __builtin_prefetch(p);
#endif
}

} // namespace detail

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
    explicit MBlockMap(int bucketCount) : m_buckets(validBucketCount(bucketCount), nullptr) { updateMask(); }
    MBlockMap(const MBlockMap &) = delete;
    MBlockMap &operator=(const MBlockMap &) = delete;

    // Re-chains the entries already there, keeping each chain's order.
    void resizeBuckets(int bucketCount)
    {
        std::vector<Node *> old(validBucketCount(bucketCount), nullptr);
        old.swap(m_buckets);
        updateMask();
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

    V &insert(const K &key, const V &value) { return insert(key, value, bucketOf(key)); }

    V *find(const K &key) { return find(key, bucketOf(key)); }
    const V *find(const K &key) const { return find(key, bucketOf(key)); }

    // Bulk lookups whose keys are known some steps ahead hide the memory
    // latency: take the key's bucket early and prefetch it, prefetch its
    // chain a few steps later once the bucket has arrived, and pass the
    // bucket to find and insert when the key's turn comes.
    std::size_t bucketOf(const K &key) const
    {
        const unsigned hash = MBlockHash<K>()(key);
        return m_mask ? hash & m_mask : hash % static_cast<unsigned>(m_buckets.size());
    }

    void prefetchBucket(std::size_t bucket) const { detail::prefetchLine(&m_buckets[bucket]); }

    // Loads the bucket itself, so it is best called once that has arrived.
    void prefetchChain(std::size_t bucket) const
    {
        if (const Node *head = m_buckets[bucket]) {
            detail::prefetchLine(head);
            detail::prefetchLine(reinterpret_cast<const char *>(head + 1) - 1);
        }
    }

    V &insert(const K &key, const V &value, std::size_t bucket) { return insertNode(key, value, bucket)->value; }

    // The node itself, for owners that keep their own index of the entries.
    Node *insertNode(const K &key, const V &value, std::size_t bucket)
    {
        Node *&head = m_buckets[bucket];
        head = new (m_nodes.allocate()) Node{key, value, head};
        ++m_count;
        return head;
    }

    V *find(const K &key, std::size_t bucket)
    {
        return const_cast<V *>(std::as_const(*this).find(key, bucket));
    }

    const V *find(const K &key, std::size_t bucket) const
    {
        for (const Node *node = m_buckets[bucket]; node; node = node->next)
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
        // Chains are prefetched a few buckets ahead: their nodes lie anywhere.
        constexpr std::size_t ChainAhead = 32;
        const std::size_t count = m_buckets.size();
        for (std::size_t b = 0; b < count; ++b) {
            if (b + ChainAhead < count)
                prefetchChain(b + ChainAhead);
            for (Node *node = m_buckets[b]; node; node = node->next)
                visit(std::as_const(node->key), node->value);
        }
    }

private:
    static std::size_t validBucketCount(int n) { return n < 1 ? 1 : static_cast<std::size_t>(n); }

    // For a power-of-two bucket count the remainder is a mask, which spares a
    // division on every lookup.
    void updateMask()
    {
        const std::size_t n = m_buckets.size();
        m_mask = n > 1 && (n & (n - 1)) == 0 ? static_cast<unsigned>(n - 1) : 0u;
    }

    std::vector<Node *> m_buckets;
    MBlockAllocator<Node> m_nodes;
    int m_count = 0;
    unsigned m_mask = 0;
};

extern template class MBlockMap<int, int>;
extern template class MBlockAllocator<MBlockMap<int, int>::Node>;

} // namespace ZOLAR3D
