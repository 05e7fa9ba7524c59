// SPDX-License-Identifier: GPL-3.0-or-later
// Which matrices each statistic relates under Procrustes and RV, and what is taken out.
#pragma once

#include "permutation/record.hpp"

/// Matrices of the communities: those that an arrangement moves, then those that it leaves alone.
enum class Part { T, X, P, R, Rp, E, Y, Z };
constexpr int nMovingParts = 5;

constexpr bool IsFixed(Part part)
{
    return part == Part::E || part == Part::Y || part == Part::Z;
}

/// Sets of matrices that partial statistics take out.
enum class Control { none, T, TR, X, P, TP };
constexpr int nControls = 6;

struct Formula {
    Statistic statistic;
    Part first, second;
    Control control;
    bool needsPhylogeny;
};

/// All but ro(BF), which relates matrices of OTUs; ordered by control.
// clang-format off
const Formula formulas[] = {
    {rTE,     Part::T,  Part::E, Control::none, false},
    {rTY,     Part::T,  Part::Y, Control::none, false},
    {rTZ,     Part::T,  Part::Z, Control::none, false},
    {rXE,     Part::X,  Part::E, Control::none, false},
    {rXY,     Part::X,  Part::Y, Control::none, false},
    {rXZ,     Part::X,  Part::Z, Control::none, false},
    {rRE,     Part::R,  Part::E, Control::none, false},
    {roPE,    Part::E,  Part::P, Control::none, true},
    {roPT,    Part::T,  Part::P, Control::none, true},
    {roPX,    Part::X,  Part::P, Control::none, true},
    {rFE,     Part::Rp, Part::E, Control::none, true},
    {rXE_T,   Part::X,  Part::E, Control::T,    false},
    {rXY_T,   Part::X,  Part::Y, Control::T,    false},
    {rXZ_T,   Part::X,  Part::Z, Control::T,    false},
    {roPX_T,  Part::P,  Part::X, Control::T,    true},
    {roPE_T,  Part::P,  Part::E, Control::T,    true},
    {rXE_TR,  Part::X,  Part::E, Control::TR,   false},
    {roPE_X,  Part::P,  Part::E, Control::X,    true},
    {roTE_P,  Part::T,  Part::E, Control::P,    true},
    {roXE_P,  Part::X,  Part::E, Control::P,    true},
    {roXE_TP, Part::X,  Part::E, Control::TP,   true},
};
// clang-format on
