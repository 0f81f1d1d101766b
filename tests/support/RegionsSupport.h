#pragma once

#include "MRegions.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace ZOLAR3D::test {

inline std::vector<int> labelsOf(const MRegions &regions)
{
    std::vector<int> labels(static_cast<std::size_t>(regions.size()));
    for (int i = 0; i < regions.size(); ++i)
        labels[std::size_t(i)] = regions[i];
    return labels;
}

inline std::vector<int> sizesOf(const MRegions &regions)
{
    std::vector<int> sizes(static_cast<std::size_t>(regions.numRegions()));
    for (int r = 0; r < regions.numRegions(); ++r)
        sizes[std::size_t(r)] = regions.regionSize(r);
    return sizes;
}

// numRegions regions holding the elements of the given labels (-1 for none),
// as a list or, with a width, as a width x height grid.
inline MRegions regionsOf(const std::vector<int> &labels, int numRegions, int width = 0, int height = 0)
{
    MRegions regions = width > 0 ? MRegions(width, height) : MRegions(static_cast<int>(labels.size()));
    for (int r = 0; r < numRegions; ++r)
        regions.addRegion();
    for (std::size_t i = 0; i < labels.size(); ++i)
        if (labels[i] >= 0)
            regions.addToRegion(static_cast<int>(i), labels[i]);
    return regions;
}

// Every label is -1 or a region number, and every size counts its labels.
inline void expectRegionInvariants(const MRegions &regions)
{
    std::vector<int> counts(static_cast<std::size_t>(regions.numRegions()), 0);
    for (int i = 0; i < regions.size(); ++i) {
        const int label = regions[i];
        ASSERT_GE(label, -1) << "element " << i;
        ASSERT_LT(label, regions.numRegions()) << "element " << i;
        if (label >= 0)
            ++counts[std::size_t(label)];
    }
    EXPECT_EQ(sizesOf(regions), counts);
}

// Plain union-find for the brute-force models of connectivity.
class UnionFind {
public:
    explicit UnionFind(std::size_t n) : m_parent(n) { std::iota(m_parent.begin(), m_parent.end(), 0); }
    int find(int i)
    {
        while (m_parent[std::size_t(i)] != i)
            i = m_parent[std::size_t(i)] = m_parent[std::size_t(m_parent[std::size_t(i)])];
        return i;
    }
    void join(int a, int b) { m_parent[std::size_t(find(a))] = find(b); }

private:
    std::vector<int> m_parent;
};

} // namespace ZOLAR3D::test
