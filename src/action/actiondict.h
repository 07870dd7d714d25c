#pragma once

#include "action/action.h"
#include "toolkit/qasciidict.h"

namespace action
{
/// The actions of a scene by their names. Owns them.
class ZYL_EXPORT ActionDict : public QAsciiDict<Action>
{
public:
    ActionDict() { setAutoDelete(true); }

    /// Takes an action over under its name, in place of one that had it, which is deleted. False,
    /// with nothing taken over, for an action without a name.
    bool put(Action* action);

    /// Reads the block of an action that the factory has made, the opening brace being behind, and
    /// puts it in if it has a name then. Takes the action over in any case. Returns what
    /// `VZylBlock::read` does; -1 too for a request without a stream.
    int readBlock(VFormatIO& io, Action* action);

    /// Calls the function of that name for every action.
    void resolve();
    void forgetReceivers(const ReceiverSet& gone);

    /// The name that an action's class has in files and for the factory: without its namespaces.
    static const char* typeName(const Action& action);
};

/// In the text form a block for each action; in the binary form a SET of pairs of the name of its
/// class and its bytes. Nothing without the request's stream.
ZYL_EXPORT VFormatIO& operator<<(VFormatIO& io, const ActionDict& actions);
/// Adds the actions that are there up to the end of the text, or to a closing brace; with the data
/// stream, those of the next value. Then calls `resolve`. What the factory doesn't know and what
/// has no name is passed over.
ZYL_EXPORT VFormatIO& operator>>(VFormatIO& io, ActionDict& actions);
} // namespace action
