#pragma once

#include <zyl/all/kernel.h>

#include <qstring.h>

class GL_Object;
class GL_Scene;

/// What zylconv prints of scenes and pictures.
namespace inventory
{
/// A line "CLASS COUNT" for each class met, in the order of the names.
void printClasses(const GL_Scene& scene);
/// "bounds" and the six numbers, the least corner first.
void printBounds(const GL_Scene& scene);
/// A line for each connection: "connection SOURCE KEY -> PATH INDEX" for a target that an action
/// drives, "connection SOURCE SIGNAL -> RECEIVER SLOT" for a signal.
void printConnections(const GL_Scene& scene);
/// Size, depth and texts.
void printImage(const VImageIO& io);
void printFormats();

/// The names from the top down, then the classes: "plant/tank GL_Group/GL_Cube".
QString pathOf(const GL_Object& object);
} // namespace inventory
