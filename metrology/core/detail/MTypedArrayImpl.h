// Member definitions of MTypedArray. Included only where an array class is
// explicitly instantiated, so that the members are compiled once.
#pragma once

#include "MTypedArray.h"

#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace ZOLAR3D {
namespace detail {

// A count from the caller: negative means nothing.
inline int nonNegative(int n) { return n < 0 ? 0 : n; }

// A count computed in 64 bits. One beyond the 32-bit range cannot be held by an
// array, so it fails as the largest possible request would.
inline int representableCount(std::int64_t n)
{
    if (n > INT_MAX)
        throw std::bad_alloc();
    return n < 0 ? 0 : static_cast<int>(n);
}

// Plain elements travel as bytes; elements that own heap storage are copied
// one by one so that no two of them share a buffer. Source and destination may
// overlap when the source lies in the same array.
template <class T>
void copyElements(T *dest, const T *src, int n)
{
    if constexpr (std::is_trivially_copyable_v<T>) {
        if (n > 0)
            std::memmove(static_cast<void *>(dest), static_cast<const void *>(src), sizeof(T) * n);
    } else {
        for (int i = 0; i < n; ++i)
            dest[i] = src[i];
    }
}

// Relocation into a fresh buffer: no overlap, and the source is about to die.
template <class T>
void moveElements(T *dest, T *src, int n)
{
    if constexpr (std::is_trivially_copyable_v<T>) {
        if (n > 0)
            std::memcpy(static_cast<void *>(dest), static_cast<const void *>(src), sizeof(T) * n);
    } else {
        for (int i = 0; i < n; ++i)
            dest[i] = std::move(src[i]);
    }
}

} // namespace detail

template <class Derived, class T>
MTypedArray<Derived, T>::MTypedArray(int n)
{
    resize(n);
}

template <class Derived, class T>
MTypedArray<Derived, T>::MTypedArray(int n, const T &value)
{
    resize(n, value);
}

template <class Derived, class T>
MTypedArray<Derived, T>::MTypedArray(const T *src, int n)
{
    setData(src, n);
}

template <class Derived, class T>
MTypedArray<Derived, T>::MTypedArray(const MTypedArray &other)
{
    setData(other.m_data, other.m_size);
}

template <class Derived, class T>
MTypedArray<Derived, T>::~MTypedArray()
{
    delete[] m_data;
}

template <class Derived, class T>
MTypedArray<Derived, T> &MTypedArray<Derived, T>::operator=(const MTypedArray &other)
{
    if (this != &other)
        setData(other.m_data, other.m_size);
    return *this;
}

template <class Derived, class T>
bool MTypedArray<Derived, T>::operator==(const Derived &other) const
{
    const MTypedArray &that = other;
    if (m_size != that.m_size)
        return false;
    return m_size == 0 ||
           std::memcmp(static_cast<const void *>(m_data), static_cast<const void *>(that.m_data),
                       sizeof(T) * m_size) == 0;
}

template <class Derived, class T>
void MTypedArray<Derived, T>::add(const T *src, int n)
{
    n = src ? detail::nonNegative(n) : 0;
    if (n == 0)
        return;
    const int newSize = detail::representableCount(std::int64_t(m_size) + n);
    if (newSize > m_capacity && overlapsBuffer(src)) {
        // Growing would release the very elements being appended.
        const MTypedArray copy(src, n);
        add(copy.m_data, n);
        return;
    }
    reserveCapacity(newSize); // exactly, no doubling
    detail::copyElements(m_data + m_size, src, n);
    m_size = newSize;
}

template <class Derived, class T>
int MTypedArray<Derived, T>::addGrowing(const T &value)
{
    // The value may be an element of this array, which the relocation moves.
    T held(value);
    reallocate(m_capacity == 0 ? 1 : detail::representableCount(std::int64_t(m_capacity) * 2));
    m_data[m_size] = std::move(held);
    return m_size++;
}

template <class Derived, class T>
void MTypedArray<Derived, T>::clear()
{
    delete[] m_data;
    m_data = nullptr;
    m_size = 0;
    m_capacity = 0;
}

template <class Derived, class T>
bool MTypedArray<Derived, T>::contains(const T &value) const
{
    for (int i = 0; i < m_size; ++i)
        if (m_data[i] == value)
            return true;
    return false;
}

template <class Derived, class T>
int MTypedArray<Derived, T>::sizeInBytes() const
{
    // A 32-bit figure by contract; beyond 2 GiB it wraps.
    return static_cast<int>(static_cast<std::uint32_t>(sizeof(T) * static_cast<std::uint64_t>(m_size)));
}

template <class Derived, class T>
void MTypedArray<Derived, T>::init(const T &value)
{
    for (int i = 0; i < m_size; ++i)
        m_data[i] = value;
}

template <class Derived, class T>
void MTypedArray<Derived, T>::reserveCapacity(int n)
{
    if (n > m_capacity)
        reallocate(n);
}

template <class Derived, class T>
void MTypedArray<Derived, T>::reallocate(int n)
{
    std::unique_ptr<T[]> fresh(new T[n]);
    detail::moveElements(fresh.get(), m_data, m_size);
    delete[] m_data;
    m_data = fresh.release();
    m_capacity = n;
}

template <class Derived, class T>
void MTypedArray<Derived, T>::resize(int n)
{
    n = detail::nonNegative(n);
    reserveCapacity(n);
    m_size = n;
}

template <class Derived, class T>
void MTypedArray<Derived, T>::resize(int n, const T &value)
{
    n = detail::nonNegative(n);
    if (n > m_capacity) {
        // The value may be an element of this array, which the relocation moves.
        const T held(value);
        reallocate(n);
        resize(n, held);
        return;
    }
    for (int i = m_size; i < n; ++i)
        m_data[i] = value;
    m_size = n;
}

template <class Derived, class T>
void MTypedArray<Derived, T>::setData(const T *src, int n)
{
    n = src ? detail::nonNegative(n) : 0;
    if (n > m_capacity && overlapsBuffer(src)) {
        // Growing would release the very elements being copied.
        const MTypedArray copy(src, n);
        setData(copy.m_data, n);
        return;
    }
    reserveCapacity(n);
    m_size = n;
    detail::copyElements(m_data, src, n);
}

template <class Derived, class T>
void MTypedArray<Derived, T>::transferDataTo(Derived &dest)
{
    MTypedArray &target = dest;
    if (&target == this)
        return;
    delete[] target.m_data;
    target.m_data = m_data;
    target.m_size = m_size;
    target.m_capacity = m_capacity;
    m_data = nullptr;
    m_size = 0;
    m_capacity = 0;
}

template <class Derived, class T>
bool MTypedArray<Derived, T>::overlapsBuffer(const T *src) const
{
    // std::less gives a total order even for pointers into different objects.
    const std::less<const T *> before;
    return m_data && !before(src, m_data) && before(src, m_data + m_capacity);
}

} // namespace ZOLAR3D
