#include "interpolation.h"

#include "log.h"

namespace zarn {

int BackLightNitsImp::InterPolate(const BackLightCordinates& p1, const BackLightCordinates& p2,
                                  BackLightCordinates* out) {
  if (out == nullptr) {
    Log().Error("BackLightNitsImp::%s: invalid out params %pK", __func__, static_cast<void*>(out));
    return -EINVAL;
  }
  const double distance = p2.x - p1.x;
  if (distance == 0.0) {
    Log().Error("BackLightNitsImp::%s: Invalid distance of zero", __func__);
    return -EINVAL;
  }
  const double weight1 = (p2.x - out->x) / distance;
  const double weight2 = (out->x - p1.x) / distance;
  out->y = p1.y * weight1 + weight2 * p2.y;
  return 0;
}

}  // namespace zarn
