#pragma once

#include <vector>

#include "jobs/runrecord.h"
#include "jobs/seriesinput.h"

/// Series within which the head moved, as another program told (SeriesInput::motion).
namespace mirel {

/// The volumes that resemble one another, counted from 0: of a diffusion series those without
/// gradients, of others all.
/// Errors  those of nifti::readBValues.
std::vector<int> likeVolumes(const SeriesInput& input);

/// The volumes with diffusion gradients (b above nifti::greatestUnweighted), counted from 0.
/// Errors  those of nifti::readBValues.
std::vector<int> weightedVolumes(const SeriesInput& input);

/// The mean of those volumes of `like` in which the head moved least, `most` at most, each brought
/// back to where it is in the reference; not corrected for distortion.
Volume<float> meanInPlace(const SeriesInput& input, const std::vector<int>& like, std::size_t most);

/// What is to be said of the motion of a series that was corrected by `shift` into images of the
/// mean `corrected`: its size, whether the images agree with it, and whether the head left the
/// slices. Doubts become warnings of `record`, the rest `notes`. The record's background is set.
void judgeMotion(const SeriesInput& input, const Volume<float>& shift,
                 const Volume<float>& corrected, SeriesRecord& record, std::vector<Remark>& notes);

}  // namespace mirel
