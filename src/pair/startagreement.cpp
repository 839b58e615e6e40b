#include "pair/startagreement.h"

#include <cmath>
#include <vector>

#include "numerics/statistics.h"
#include "pair/agreement.h"

namespace mirel {

StartAgreement agreementWithStart(const Volume<float>& map, const Volume<float>& start,
                                  const Volume<float>& head) {
  std::vector<float> differences;
  double zeros = 0;
  for (int i = 0; i < map.size(); ++i) {
    if (head.data()[i] <= 0.0F) continue;
    differences.push_back(map.data()[i] - start.data()[i]);
    if (start.data()[i] == 0.0F) ++zeros;
  }
  if (differences.empty()) return {};
  const double share = zeros / static_cast<double>(differences.size());
  const float median = quantile(differences, 0.5);
  for (float& difference : differences) difference = std::abs(difference - median);
  return {agreementOf(map, start, head), static_cast<double>(median),
          static_cast<double>(quantile(differences, 0.95)), share};
}

}  // namespace mirel
