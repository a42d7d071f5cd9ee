#include "tools/filtrix/assignment.h"

#include <opencv2/core.hpp>

#include <limits>

namespace ZR::Filtrix::Tool
{
namespace
{
constexpr double infinity = std::numeric_limits<double>::infinity();

// Rows are added one by one; each time the cheapest way is found to give a column to one row more. Row and column 0
// stand for none.
class Assignment final
{
public:
  explicit Assignment(const cv::Mat1d& costs_)
      : costs(costs_), rowPrice(size(costs_.rows)), columnPrice(size(costs_.cols)), rowOf(size(costs_.cols)),
        before(size(costs_.cols))
  {
    for (int row = 1; row <= costs.rows; ++row)
      addRow(row);
  }

  [[nodiscard]] std::vector<int> columns() const
  {
    std::vector<int> result(static_cast<std::size_t>(costs.rows), -1);
    for (int column = 1; column <= costs.cols; ++column)
    {
      if (const int row = rowOf[at(column)]; row != 0)
        result[at(row - 1)] = column - 1;
    }
    return result;
  }

private:
  static std::size_t at(int index) { return static_cast<std::size_t>(index); }

  static std::size_t size(int count) { return at(count) + 1; }

  void addRow(int row)
  {
    rowOf[0] = row;
    std::vector<double> cheapest(columnPrice.size(), infinity);
    std::vector<bool> isSettled(columnPrice.size(), false);
    int column = 0;
    do
    {
      isSettled[at(column)] = true;
      column = settle(column, cheapest, isSettled);
    } while (rowOf[at(column)] != 0);
    while (column != 0)
    {
      const int previous = before[at(column)];
      rowOf[at(column)] = rowOf[at(previous)];
      column = previous;
    }
  }

  // The next column on a cheapest way.
  int settle(int from, std::vector<double>& cheapest, const std::vector<bool>& isSettled)
  {
    const int row = rowOf[at(from)];
    int next = 0;
    double step = infinity;
    for (int column = 1; column <= costs.cols; ++column)
    {
      if (isSettled[at(column)])
        continue;
      const double cost = costs(row - 1, column - 1) - rowPrice[at(row)] - columnPrice[at(column)];
      if (cost < cheapest[at(column)])
      {
        cheapest[at(column)] = cost;
        before[at(column)] = from;
      }
      if (cheapest[at(column)] < step)
      {
        step = cheapest[at(column)];
        next = column;
      }
    }
    for (int column = 0; column <= costs.cols; ++column)
    {
      if (isSettled[at(column)])
      {
        rowPrice[at(rowOf[at(column)])] += step;
        columnPrice[at(column)] -= step;
      }
      else
        cheapest[at(column)] -= step;
    }
    return next;
  }

  const cv::Mat1d& costs;
  std::vector<double> rowPrice;
  std::vector<double> columnPrice;
  std::vector<int> rowOf;   // of a column, 0 for none
  std::vector<int> before;  // the column before it on the way
};
}  // namespace

std::vector<int> assign(const cv::Mat1d& costs)
{
  if (costs.rows <= costs.cols)
    return Assignment(costs).columns();
  cv::Mat1d turned;
  cv::transpose(costs, turned);
  const std::vector<int> rows = Assignment(turned).columns();
  std::vector<int> columns(static_cast<std::size_t>(costs.rows), -1);
  for (std::size_t column = 0; column < rows.size(); ++column)
    columns[static_cast<std::size_t>(rows[column])] = static_cast<int>(column);
  return columns;
}
}  // namespace ZR::Filtrix::Tool
