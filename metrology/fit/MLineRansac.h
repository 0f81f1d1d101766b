#pragma once

#include "MAngle.h"
#include "MLine.h"
#include "MLineFit.h"
#include "MRansac.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

extern template class ZOL3D_API MRansac<MLine, MLineFit>;

// Lines from samples of 2 points. With a valid reference line, only lines
// at an angle to it within [minAngle, maxAngle] count, and a line similar to
// the reference itself does not: the search looks for another line.
class ZOL3D_API MLineRansac : public MRansac<MLine, MLineFit> {
public:
    MLineRansac() : MRansac(2) {}

    // Lines farther apart than this are not similar; a value that is not
    // positive counts in multiples of the band, by default 5.
    void setSimilarDistance(double distance) { m_similarDistance = distance; }
    double similarDistance() const { return m_similarDistance; }
    // Lines at a greater angle, in radians, are not similar.
    void setSimilarAngle(double angle) { m_similarAngle = angle; }
    double similarAngle() const { return m_similarAngle; }
    void setReferenceLine(const MLine &line) { m_referenceLine = line; }
    const MLine &referenceLine() const { return m_referenceLine; }
    // Bounds, in radians, of the angle between the directions of a line and
    // of the reference; the directions' signs count.
    void setMinAngle(double angle) { m_minAngle = angle; }
    double minAngle() const { return m_minAngle; }
    void setMaxAngle(double angle) { m_maxAngle = angle; }
    double maxAngle() const { return m_maxAngle; }

    bool isValidModel(const MLine &model) const override;
    bool isSimilar(const MLine &a, const MLine &b) const override;

private:
    double m_similarDistance = -5.0;
    double m_similarAngle = MAngle::DegToRad(10.0);
    MLine m_referenceLine;
    double m_minAngle = 0.0;
    double m_maxAngle = MAngle::DegToRad(10.0);
};

} // namespace ZOLAR3D
