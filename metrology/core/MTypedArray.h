#pragma once

#include "Zol3DExport.h"

#include <cstdint>

namespace ZOLAR3D {

// The one implementation behind every M...Array class of the library: a buffer
// of `capacity` constructed elements, of which the first `size` are in use.
// The arrays are the only containers that cross the library's interface, so
// their layout is exactly three members: pointer, size, capacity.
//
// A fresh buffer is built with `new T[capacity]`: scalars stay uninitialised,
// class elements are default objects, and growing within the capacity brings
// back whatever the slots held before. Elements that are trivially copyable
// move as bytes; elements that own heap storage are copied and moved one by
// one, so that no two elements ever share a buffer. `operator==` compares
// bytes in both cases, which is identity, not deep equality, for the latter.
//
// Counts are 32-bit. A negative count is taken as 0, a null source as no
// elements, and a request beyond the 32-bit range throws std::bad_alloc like
// any allocation that cannot be met.
//
// Adding the array of a new element class MX takes two lines.
//   In its public header MXArray.h, after including "MTypedArray.h" and "MX.h":
//       ZOL3D_TYPED_ARRAY(MXArray, MX);
//   In a source file of the same subsystem, after including "MXArray.h" and
//   "metrology/core/detail/MTypedArrayImpl.h":
//       template class MTypedArray<MXArray, MX>;
// The first line declares the exported class and tells every translation unit
// that its members are compiled once, in the library; the second compiles them.
template <class Derived, class T>
class MTypedArray {
public:
    MTypedArray() = default;
    explicit MTypedArray(int n);
    MTypedArray(int n, const T &value);
    MTypedArray(const T *src, int n);
    MTypedArray(const MTypedArray &other);
    ~MTypedArray();

    MTypedArray &operator=(const MTypedArray &other);
    bool operator==(const Derived &other) const;

    T &operator[](int index) { return m_data[index]; }
    const T &operator[](int index) const { return m_data[index]; }

    int add(const T &value)
    {
        if (m_size == m_capacity)
            return addGrowing(value);
        m_data[m_size] = value;
        return m_size++;
    }
    void add(const T *src, int n);

    void clear();
    bool contains(const T &value) const;

    int capacity() const { return m_capacity; }
    int size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    int sizeInBytes() const;

    T *data() { return m_data; }
    const T *data() const { return m_data; }
    T &first() { return m_data[0]; }
    const T &first() const { return m_data[0]; }
    T &last() { return m_data[m_size - 1]; }
    const T &last() const { return m_data[m_size - 1]; }

    void init(const T &value);
    void reserveCapacity(int n);
    void resize(int n);
    void resize(int n, const T &value);
    void setData(const T *src, int n);
    void transferDataTo(Derived &dest);

private:
    int addGrowing(const T &value);
    void reallocate(int n);
    bool overlapsBuffer(const T *src) const;

    T *m_data = nullptr;
    int m_size = 0;
    int m_capacity = 0;
};

} // namespace ZOLAR3D

// Declares the exported array class Name of Element. Its members are compiled
// once, by the explicit instantiation in the library (see above).
#define ZOL3D_TYPED_ARRAY(Name, Element)                                          \
    namespace ZOLAR3D {                                                           \
    class Name;                                                                   \
    extern template class ZOL3D_API MTypedArray<Name, Element>;                   \
    class ZOL3D_API Name : public MTypedArray<Name, Element> {                    \
    public:                                                                       \
        using MTypedArray<Name, Element>::MTypedArray;                            \
    };                                                                            \
    }
