#pragma once

#include <algorithm>
#include <memory>

namespace ZOLAR3D {

// A LIFO of trivially copyable items that lives on the caller's stack while it
// holds at most N of them and moves to the heap only beyond that. Tree walks
// use it so that a query allocates nothing on balanced trees and still copes
// with the degenerate, very deep ones.
template <class T, int N>
class MSmallStack {
public:
    MSmallStack() = default;
    MSmallStack(const MSmallStack &) = delete;
    MSmallStack &operator=(const MSmallStack &) = delete;

    bool isEmpty() const { return m_size == 0; }

    void push(const T &item)
    {
        if (m_size == m_capacity)
            grow();
        m_items[m_size++] = item;
    }

    T pop() { return m_items[--m_size]; }

private:
    void grow()
    {
        const int capacity = 2 * m_capacity;
        std::unique_ptr<T[]> items(new T[capacity]);
        std::copy(m_items, m_items + m_size, items.get());
        m_heap = std::move(items);
        m_items = m_heap.get();
        m_capacity = capacity;
    }

    T m_inline[N];
    std::unique_ptr<T[]> m_heap;
    T *m_items = m_inline;
    int m_size = 0;
    int m_capacity = N;
};

} // namespace ZOLAR3D
