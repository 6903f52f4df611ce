// The breadth-first walk that the composer search and the Copy-menu search share.
#pragma once

#include <cstddef>
#include <deque>
#include <utility>

#include "accessibility/element_helpers.h"

namespace textport {

// Visits the tree under root in breadth-first order, setting `timeout` on each element before
// asking it anything. Before each element the walk stops when nothing is left, when `limit`
// elements have been visited, or when `budget` seconds have passed since the start (checked only
// between elements, so the requests of the element in hand always finish). `visit` returns true
// to end the walk at once. The result is true when the walk saw every element of the tree.
template <class Visit>
bool walkBreadthFirst(Platform& platform, Element root, std::size_t limit, double budget,
                      float timeout, Visit&& visit) {
  std::deque<Element> queue{std::move(root)};
  std::size_t visited = 0;
  const double deadline = platform.now() + budget;
  while (!queue.empty() && visited < limit && platform.now() < deadline) {
    Element element = std::move(queue.front());
    queue.pop_front();
    platform.setMessagingTimeout(element, timeout);
    if (visit(element)) return false;
    if (auto kids = children(platform, element)) {
      for (Element& child : *kids) queue.push_back(std::move(child));
    }
    ++visited;
  }
  return queue.empty();
}

}  // namespace textport
