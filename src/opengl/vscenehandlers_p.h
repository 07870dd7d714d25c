#pragma once

#include "opengl/vsceneio.h"

#include <memory>

/// Registers a handler of the library's own, which ends with the list of handlers.
void defineBuiltInHandler(std::unique_ptr<VSceneHandler> handler);

/// Registers the handlers of all formats, the least preferred first.
void defineSceneHandlers();

// One for each source of handlers.
void vInitZylIO();
