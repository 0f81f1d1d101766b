#pragma once

#include "MIntArray.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// A labelling of the elements of a cloud, image, mesh or line set: every
// element belongs to at most one region. Selections of the library answer
// with one. With a width and a height the elements also form a grid, row by
// row, on which the morphology and the connectivity work.
//
// Invariants kept by every member: a label is -1 (no region) or lies in
// [0, numRegions()), and the size of each region counts exactly the elements
// that carry its label.
class ZOL3D_API MRegions {
public:
    MRegions() = default;
    // size elements without a region, no grid; a negative size gives none.
    explicit MRegions(int size);
    // A grid of width x height elements without a region. A dimension of 0
    // or below gives the empty 0 x 0 grid; one too large for the arrays
    // raises std::bad_alloc.
    MRegions(int width, int height);
    MRegions(const MRegions &other) = default;
    MRegions &operator=(const MRegions &other) = default;
    MRegions(MRegions &&other) noexcept { other.transferDataTo(*this); }
    MRegions &operator=(MRegions &&other) noexcept
    {
        other.transferDataTo(*this);
        return *this;
    }

    // Same grid, same labels, same region sizes.
    bool operator==(const MRegions &other) const;
    bool operator!=(const MRegions &other) const { return !(*this == other); }

    // Hands the arrays to dest without copying; this object is left empty.
    void transferDataTo(MRegions &dest);

    int size() const { return m_labels.size(); }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int numRegions() const { return m_sizes.size(); }

    // The label of an element, -1 out of range.
    int operator[](int element) const { return elementRegion(element); }
    int elementRegion(int element) const { return isElement(element) ? m_labels[element] : -1; }
    bool contains(int element) const { return elementRegion(element) >= 0; }
    // The size of region r, 0 out of range; for a negative r the number of
    // elements that have a region.
    int regionSize(int r) const;

    // Appends an empty region and returns its number.
    int addRegion() { return m_sizes.add(0); }
    // Moves an element into a region; false, changing nothing, when the
    // element or the region does not exist.
    bool addToRegion(int element, int region)
    {
        if (!isElement(element) || !isRegion(region))
            return false;
        relabel(element, region);
        return true;
    }
    // The grid form: column x of row y.
    bool addToRegion(int x, int y, int region) { return addToRegion(gridIndex(x, y), region); }
    // Takes an element out of its region; false when it does not exist.
    bool remove(int element)
    {
        if (!isElement(element))
            return false;
        relabel(element, -1);
        return true;
    }
    bool remove(int x, int y) { return remove(gridIndex(x, y)); }
    // No element has a region, and there are no regions.
    void reset();

    // A labelling of the same shape whose one region 0 holds the elements of
    // region r; it is empty when r is not a region.
    MRegions region(int r) const;

    // Complement: one region 0 of the elements that had none, all others
    // without a region. The old region numbers are lost.
    void invert();
    MRegions inverse() const;
    MRegions operator!() const { return inverse(); }

    // Element-wise intersection: an element keeps its label here when it has
    // one in other too. Operands of different sizes are a failure that leaves
    // this labelling as it was.
    MRegions &operator&=(const MRegions &other);
    MRegions operator&(const MRegions &other) const;
    // Element-wise union: the label here first, otherwise the label in
    // other, with its region number. Region numbers of both are kept, so
    // there are as many regions as the operand with more.
    MRegions &operator|=(const MRegions &other);
    MRegions operator|(const MRegions &other) const;

    // Clears the regions of fewer than minSize or more than maxSize
    // elements, then drops empty regions. A maxSize below 1 means no limit.
    void selectSize(int minSize, int maxSize);
    // Renumbers the regions by size, ascending or descending; regions of
    // equal size keep their order.
    void sortBySize(bool descending);
    // Renumbers the non-empty regions in order; empty ones vanish.
    void removeEmptyRegions();

    // One pass of grid morphology over the eight neighbours. erode clears
    // every labelled element next to an element without a region; the
    // outside of the grid does not count as such. dilate spreads each label
    // onto the eight neighbours. Both need a grid.
    void erode();
    void dilate();

    // The 4-connected components of the labelled elements of the grid,
    // whatever their regions here, numbered in the order in which the scan
    // by rows meets them. Components of fewer than minSize elements are
    // cleared but keep their (then empty) number. Needs a grid.
    MRegions connectivitySegmentation(int minSize) const;

    // The smallest rectangle of the grid holding region r: first column x,
    // first row y, and its width and height. False, with all four 0, when
    // the region does not exist or is empty, or when there is no grid.
    bool getBoundingRectangle(int r, int &x, int &y, int &w, int &h) const;

private:
    bool isElement(int element) const { return unsigned(element) < unsigned(m_labels.size()); }
    bool isRegion(int region) const { return unsigned(region) < unsigned(m_sizes.size()); }
    // The element of column x, row y, or -1 off the grid.
    int gridIndex(int x, int y) const
    {
        return unsigned(x) < unsigned(m_width) && unsigned(y) < unsigned(m_height) ? y * m_width + x : -1;
    }
    // Width and height describe every element; an empty labelling is a grid
    // of nothing.
    bool isGrid() const { return static_cast<long long>(m_width) * m_height == m_labels.size(); }
    // Raises the failure of a grid operation on a labelling without a grid.
    bool requireGrid(const char *failureText) const;
    // Whether an eight-neighbour of (x, y) inside the grid has no region.
    bool hasFreeNeighbor(const MIntArray &labels, int x, int y) const;
    // The label of the eight-neighbour of (x, y) met last by a scan by rows,
    // or -1 when no neighbour has one.
    int lastLabelledNeighbor(const MIntArray &labels, int x, int y) const;
    void relabel(int element, int region)
    {
        int &label = m_labels[element];
        if (label >= 0)
            --m_sizes[label];
        if (region >= 0)
            ++m_sizes[region];
        label = region;
    }
    // Labels through the table newNumber[old label], then recounts sizes.
    void renumber(const int *newNumber, int numRegions);
    void recountSizes(int numRegions);

    int m_height = 0;
    int m_width = 0;
    MIntArray m_labels;
    MIntArray m_sizes;
};

} // namespace ZOLAR3D
