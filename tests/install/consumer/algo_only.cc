// A host that leaves the log alone and names the forecasting library only.

#include <Journey.h>

#include <iostream>

int main() {
  AllJourneys journeys;
  journeys.initialize("KernelRegression", {}, {100.0}, "arrival", 50, "ring");
  journeys.read_milestones("loop", 1, 1, {0, 500, 1000});
  try {
    journeys.read_milestones("loop", 1, 1, {0});
  } catch (invalid_milestones& error) {
    std::cout << error.what();
  }
}
