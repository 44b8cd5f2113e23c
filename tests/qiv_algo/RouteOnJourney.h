#ifndef QIV_TESTS_QIV_ALGO_ROUTE_ON_JOURNEY_H
#define QIV_TESTS_QIV_ALGO_ROUTE_ON_JOURNEY_H

#include "BusRoute.h"
#include "Journey.h"

/// An empty route of its own, bound to a journey that holds the given shape version identifier.
struct RouteOnJourney {
  explicit RouteOnJourney(long long shapeVersionID = 17)
      : journey("KernelRegression", {}, {1.0}, "arrival", 1, "ring"), route(journey) {
    journey.read_milestones(1, shapeVersionID, {0.0, 1.0});
  }

  Journey journey;
  BusRoute route;
};

#endif  // QIV_TESTS_QIV_ALGO_ROUTE_ON_JOURNEY_H
