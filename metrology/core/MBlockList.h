#pragma once

#include "MBlockAllocator.h"

namespace ZOLAR3D {

// A singly linked list whose nodes come from a shared block allocator with a
// free list, so that many short lists (the triangles around each vertex, free
// slots) cost no heap allocation per node. The list holds only its head: its
// nodes belong to the allocator, and a list that is not cleared simply leaves
// them there until the allocator is cleared.
template <class T>
class ZOL3D_API MBlockList {
public:
    struct Node {
        T value;
        Node *next;
    };

    // The block allocator plus a free list of released nodes, which allocate
    // hands out again before opening new slots.
    class ZOL3D_API Allocator : public MBlockAllocator<Node> {
    public:
        Node *allocate() override
        {
            if (!m_freeList)
                return MBlockAllocator<Node>::allocate();
            Node *node = m_freeList;
            m_freeList = node->next;
            node->next = nullptr;
            return node;
        }

        virtual void releaseNode(Node *node)
        {
            node->next = m_freeList;
            m_freeList = node;
        }

        // Links the whole chain in front of the free list in one step.
        virtual void releaseChain(Node *first)
        {
            if (!first)
                return;
            Node *last = first;
            while (last->next)
                last = last->next;
            last->next = m_freeList;
            m_freeList = first;
        }

        // The inherited clear frees the blocks but leaves the free list head
        // as it was, pointing into released memory: an owner that reuses the
        // allocator after clear resets the head first.
        void resetFreeList() { m_freeList = nullptr; }
        const Node *freeList() const { return m_freeList; }

    private:
        Node *m_freeList = nullptr;
    };

    explicit MBlockList(Allocator &allocator) : m_allocator(&allocator) {}

    // Head insertion: the newest value comes first.
    void push(const T &value)
    {
        m_head = new (m_allocator->allocate()) Node{value, m_head};
    }

    // Unlinks the first node holding value and gives it back to the allocator.
    bool remove(const T &value)
    {
        for (Node **link = &m_head; *link; link = &(*link)->next) {
            if ((*link)->value == value) {
                Node *node = *link;
                *link = node->next;
                m_allocator->releaseNode(node);
                return true;
            }
        }
        return false;
    }

    void clear()
    {
        m_allocator->releaseChain(m_head);
        m_head = nullptr;
    }

    const Node *head() const { return m_head; }
    bool isEmpty() const { return m_head == nullptr; }

    int size() const
    {
        int n = 0;
        for (const Node *node = m_head; node; node = node->next)
            ++n;
        return n;
    }

private:
    Allocator *m_allocator;
    Node *m_head = nullptr;
};

extern template class MBlockList<int>;
extern template class MBlockAllocator<MBlockList<int>::Node>;

} // namespace ZOLAR3D
