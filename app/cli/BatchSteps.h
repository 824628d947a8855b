// The image operations of a script step, run through the same operation
// table as "vivark convert": a step becomes the convert option it stands for
// ("Resize;width=800;height=600" is --resize 800x600) with its settings for
// that one step (resample=no is --point, proportional=no is --stretch), so a
// script and a command line give the same pixels.
//
// "BCC" is the one step that runs an operation with all its parameters at
// once, where the command line's --brightness, --contrast and --color each
// run it with one of them.
#pragma once

#include <cstdint>

#include "batch/Script.h"
#include "core/Image.h"
#include "core/Progress.h"

namespace vivark::cli {

// Runs `step` over `image`; false when cancelled. "FileFormat" and
// "OutputDir" do nothing here: the run reads them. Throws OperationFailure
// with the step's section name in front of the message, and IMAGEERROR::
// TooLarge and std::bad_alloc as the operations do. `reducedTo` receives the
// colour count of an "IndexedColor" step.
bool applyScriptStep(Image& image, const batch::Step& step, ProgressCallback* progress,
                     uint32_t& reducedTo);

}  // namespace vivark::cli
