#pragma once

#include <glm/vec3.hpp>
#include <vector>

#include "containers/volume.h"

/// Applying, inverting, checking and repairing a voxel displacement map along y.
namespace mirel::reference {

template <typename T>
void applyVdmYLinear(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm, bool reverse);
template <typename T>
void applyVdmYLinearReverse(Volume<T>& dst, const Volume<T>& src, const Volume<float>& vdm);
void applyVdmYSpline(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm,
                     bool reverse);
void applyVdmYSplineReverse(Volume<float>& dst, const Volume<float>& src, const Volume<float>& vdm);
void applyVdmPlusLocalYLinearFast(Volume<float>& dst, const Volume<float>& src,
                                  const Volume<float>& vdm, const std::vector<glm::ivec3>& voxels,
                                  const Volume<float>& localVdm,
                                  const std::vector<glm::ivec3>& localVoxels, float factor,
                                  bool reverse);
void applyVdmPlusLocalYLinearReverseFast(Volume<float>& dst, const Volume<float>& src,
                                         const Volume<float>& vdm,
                                         const std::vector<glm::ivec3>& voxels,
                                         const Volume<float>& localVdm,
                                         const std::vector<glm::ivec3>& localVoxels, float factor);
Volume<float> invertVDM(const Volume<float>& vdm);
int nrOfErrorsInVDM(const Volume<float>& vdm);
int smoothErrors(Volume<float>& vdm);
int indexLowestAbsoluteValue(const std::vector<float>& values);
void correctIntensities(Volume<float>& apOut, Volume<float>& paOut, const Volume<float>& apIn,
                        const Volume<float>& paIn, const Volume<float>& vdm);
Volume<float> applyVdm(const Volume<float>& vdm, const Volume<float>& volume, bool rllr,
                       bool intensityCorrection);

}  // namespace mirel::reference
