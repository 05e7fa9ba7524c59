// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated metacommunity in its plain form: every matrix of a step computed in full, births
// kept by site, OTU and order of arrival. Slow and obvious; the program's model must give the same
// bytes.
#pragma once

#include <vector>

#include "simulation/settings.hpp"

using Matrix = std::vector<std::vector<double>>;

struct PlainModel {
    explicit PlainModel(const Simulation& run);

    /// Draws what a set starts from into the run, and empties the sites.
    void StartSet(Simulation& run);
    void Step(const Simulation& run, int step);

    Matrix B, D, E, expected, W, averageBirth, cwm, previousCwm, survival;
    std::vector<double> means, deviations;
    std::vector<std::vector<std::vector<int>>> cohort; // S x N x individuals
    std::vector<int> siteTotal, richness, colonisations, extinctions;
    int total = 0, recordStep = 0;
    bool recording = false;

private:
    void Traits(const Simulation& run);
    void Conditions(const Simulation& run);
    void Record(const Simulation& run, int step);
    void Colonise(const Simulation& run, int step);
    void Mortality(const Simulation& run, int step);
    void Feedback(const Simulation& run);
};
