#include "opengl/vscenehandlers_p.h"

void defineSceneHandlers()
{
    static constexpr void (*initialisers[])() = {
        &vInitZylIO,
    };
    for (void (*const initialise)() : initialisers)
        initialise();
}
