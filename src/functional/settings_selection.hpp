// SPDX-License-Identifier: GPL-3.0-or-later
// The questions of the settings dialogue on what of the data an analysis uses: types of OTUs,
// variables, traits, OTUs. Answers are left in `session`.
#pragma once

/// Room for the name of a file of group memberships, with the closing 0.
constexpr int membershipFileNameSize = 100;

/// Who asks, by session.optmain.
bool ForRanking();
bool ForSimulator();

/// Yes or no. The answers of this one are not recorded in a macro, and complaints name the
/// keyboard.
bool YesFromKeyboard();
/// Yes or no.
bool Yes();
/// Asks for one of the whole numbers of a list like "1 2 3".
int OptionNumber(const char* accept);

/// The partition of OTUs into types (partition_OTUs, nGrPoly): the species of the session, a row
/// typed, or a file. Each OTU is its own type for the simulator.
void AskTypes();
/// Crisp or fuzzy belonging to the types (fuzzy, fuzziness).
void AskFuzziness();
/// Variables of E in use (eVarSelect).
void AskVariables();
/// Traits in use and their weights (weight): 1, or less for traits of one group; 0 if not in use.
void AskTraitWeights();
/// OTUs in use (weight_OTUs), and what their choice means for diversity (restrictRaoWithinOpt,
/// keepAdditivity). All OTUs in a ranking.
void AskOtus();
