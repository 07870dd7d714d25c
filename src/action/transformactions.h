#pragma once

#include "action/action.h"

namespace action
{
/// The three coordinates, or angles, that were sent last.
class ZYL_EXPORT PathConnections : public ChannelConnections<3>
{
};

/// The three factors that were sent last; 0 for one that has yet to be sent.
class ZYL_EXPORT ScaleConnections : public ChannelConnections<3>
{
};

/// Moves nodes along an axis.
///
/// Three keys make a group: key / 3 tells what is connected, and the remainder the axis. A value is
/// a coordinate, and what is sent is the way from the last one, which begins as 0, so that several
/// actions can work on one node. Equal values send nothing; neither do values that aren't finite,
/// which would spoil a node for good, nor negative keys.
class ZYL_EXPORT MoveAction : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    bool evaluate(int key, double value) override;
    ConnectionList* newConnections() const override;

private:
    static VMetaObject* metaObj;
};

/// Turns nodes about an axis, by angles in degrees; see MoveAction.
class ZYL_EXPORT RotateAction : public MoveAction
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    bool evaluate(int key, double value) override;

private:
    static VMetaObject* metaObj;
};

/// Scales nodes along an axis; see MoveAction. What is sent is the ratio to the last factor, and 0
/// counts as 1.
///
/// The first factor of each axis changes nothing: it only sets the mark that later ones are
/// measured by.
class ZYL_EXPORT ScaleAction : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    bool evaluate(int key, double value) override;
    ConnectionList* newConnections() const override;

private:
    static VMetaObject* metaObj;
};
} // namespace action
