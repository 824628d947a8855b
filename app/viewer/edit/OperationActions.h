// The operations of the Image, Colours and Filters menus: one table entry
// each, with its menu text, the dialog of its parameters and the ops/
// function it calls (the same functions "vivark convert" calls).
//
// An entry without a form runs at once; an entry with one asks first, and
// its Operation is made from the dialog's values. Entries that keep their
// choices in settings (resize, rotate, colour depth, resolution) read them
// into the form and write them back when the dialog is accepted.
#pragma once

#include <span>

#include "app/viewer/edit/OperationRunner.h"
#include "app/viewer/edit/ParamDialog.h"
#include "ops/Convolution.h"

namespace vivark::viewer {

struct OperationAction {
    const char* menu;  // "Image", "Colours" or "Filters"
    const char* id;    // the QAction's object name: "resize"
    const char* text;  // "&Resize..."
    const char* what;  // the undo step: "Resize"
    // Fills the dialog from the image and the settings; null: no dialog.
    void (*form)(ParamDialog& dialog, const Image& image) = nullptr;
    // The operation of the dialog's values (the dialog is null without a form).
    Operation (*make)(const ParamDialog* dialog) = nullptr;
    // Keeps the accepted dialog's choices in their settings; may be null.
    void (*remember)(const ParamDialog& dialog) = nullptr;
    bool preview = false;    // the dialog shows the result as it changes
    bool separator = false;  // a menu separator comes before it
};

std::span<const OperationAction> operationActions();

// The fixed kernels of the Filters menu by their action ids ("edges",
// "emboss", ...); a 1x1 identity for an unknown id.
ConvolutionFilter presetFilter(const char* id);

}  // namespace vivark::viewer
