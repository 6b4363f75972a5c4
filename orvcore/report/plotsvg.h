#pragma once

#include <string>

#include "orvcore/filter/filterresult.h"

// A plot as a drawing that scales, in the words of the standard for vector graphics on pages (SVG 1.1), without scripts, fonts or anything
// loaded: axes with labels, bars, curves, marks and help lines of the layer that is shown. title: told to those who do not see it.
// Texts are escaped. "" for a plot without data. layer: below plot.layerCount; others count as 0.
std::string PlotToSvg(const OrvPlotData& plot, int layer, const std::string& title);
