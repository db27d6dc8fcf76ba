#include <Programs/mirel/Diff/Assignment.h>

#include <algorithm>
#include <limits>

namespace mirel {

// Shortest augmenting paths with potentials (Jonker, Volgenant, "A Shortest Augmenting Path Algorithm for Dense and Sparse
// Linear Assignment Problems", Computing 38, 1987). Row and column 0 stand for none.
std::vector<std::size_t>
Assignment::Solve(std::size_t rows, std::size_t columns, double limit,
                  const std::function<double(std::size_t row, std::size_t column)>& cost) {
  if (rows > columns) {
    const std::vector<std::size_t> rowOf =
        Solve(columns, rows, limit, [&](std::size_t row, std::size_t column) { return cost(column, row); });
    std::vector<std::size_t> result(rows, kNone);
    for (std::size_t column = 0; column < columns; ++column) {
      if (rowOf[column] != kNone) {
        result[rowOf[column]] = column;
      }
    }
    return result;
  }
  std::vector<double> costs(rows * columns);
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t column = 0; column < columns; ++column) {
      costs[row * columns + column] = std::min(limit, cost(row, column));
    }
  }
  std::vector<double> rowPotential(rows + 1, 0.0), columnPotential(columns + 1, 0.0);
  std::vector<std::size_t> rowOf(columns + 1, 0), way(columns + 1, 0);
  for (std::size_t row = 1; row <= rows; ++row) {
    rowOf[0] = row;
    std::size_t column = 0;
    std::vector<double> least(columns + 1, std::numeric_limits<double>::max());
    std::vector<bool> isUsed(columns + 1, false);
    do {
      isUsed[column] = true;
      const std::size_t current = rowOf[column];
      double delta = std::numeric_limits<double>::max();
      std::size_t next = 0;
      for (std::size_t i = 1; i <= columns; ++i) {
        if (isUsed[i]) {
          continue;
        }
        const double reduced =
            costs[(current - 1) * columns + i - 1] - rowPotential[current] - columnPotential[i];
        if (reduced < least[i]) {
          least[i] = reduced;
          way[i] = column;
        }
        if (least[i] < delta) {
          delta = least[i];
          next = i;
        }
      }
      for (std::size_t i = 0; i <= columns; ++i) {
        if (isUsed[i]) {
          rowPotential[rowOf[i]] += delta;
          columnPotential[i] -= delta;
        } else {
          least[i] -= delta;
        }
      }
      column = next;
    } while (rowOf[column] != 0);
    for (; column != 0; column = way[column]) {
      rowOf[column] = rowOf[way[column]];
    }
  }
  std::vector<std::size_t> result(rows, kNone);
  for (std::size_t column = 1; column <= columns; ++column) {
    const std::size_t row = rowOf[column];
    if (row != 0 && costs[(row - 1) * columns + column - 1] < limit) {
      result[row - 1] = column - 1;
    }
  }
  return result;
}

}  // namespace mirel
