#pragma once

#include <wx/font.h>
#include <wx/gdicmn.h>

#include <functional>
#include <string>
#include <vector>

class wxDC;

// What a window draws, piece by piece, in logical coordinates and in this order:
//   "line 1,2 30,40 #RRGGBB 3"  with the pen's width; of several points a polyline; "dashed" after a dashed one
//   "point 7,8 #RRGGBB 1"
//   "rect 5,6 70x80 #RRGGBB 1 fill #RRGGBB"  "no pen" and "no fill" where there is none
//   "circle 50,60 4 #RRGGBB 2"
//   "text 11,12 #RRGGBB words"  its upper left corner
//   "image 5,6 70x80", "clip 10,10 50x50"
// font: that of the texts, by which their corners are found.
std::vector<std::string> Drawn(const std::function<void(wxDC&)>& draw, const wxFont& font,
                               wxSize size = wxSize(400, 300));

// Those that begin with a word.
std::vector<std::string> Only(const std::vector<std::string>& items, const std::string& word);
