#pragma once

// The visitor lives below this folder, because opening a folder needs it too.
#include <Viewer/Kernel/Scene/LiteVisualVisitor.h>
