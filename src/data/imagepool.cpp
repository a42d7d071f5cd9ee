#include "data/imagepool.h"

namespace ZR::Filtrix
{
cv::Mat makePooledMat(int rows, int cols, int type)
{
  return cv::Mat(rows, cols, type);
}
}  // namespace ZR::Filtrix
