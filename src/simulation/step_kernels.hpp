// SPDX-License-Identifier: GPL-3.0-or-later
// The inner loop of a simulation step, compiled for every vector path.
#pragma once

struct StepKernels {
    /// Root mean square difference of each OTU to what each site expects of the traits; OTUs side
    /// by side, so that each sum runs over the traits in order.
    ///
    /// traitsByOTU  nTraits x nOTUs
    /// expected     nTraits x nSites
    /// out          nSites x nOTUs
    void (*distances)(int nSites, int nOTUs, int nTraits, double* const* traitsByOTU,
                      double* const* expected, double* const* out);
};

/// Those of the active path.
const StepKernels& ActiveStepKernels();
