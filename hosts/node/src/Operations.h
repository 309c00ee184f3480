#ifndef HOSTS_NODE_OPERATIONS_H
#define HOSTS_NODE_OPERATIONS_H

#include "hosts/node/src/Library.h"
#include "hosts/node/src/Value.h"
#include "hosts/node/src/Window.h"

/**
 * What JavaScript can ask of a video window. Each is one job: nothing comes between choosing a pane and the command
 * that goes to the current pane.
 *
 * Threads: the host window's.
 * Errors:  CallError with the log's reason; std::invalid_argument for arguments of the wrong kind.
 */
namespace pellora::node
{

/** Results that are no failure. */
enum class Expect { One = 0, Anything = 1, NotNegative = 2 };

constexpr int kNoPane = -2; /**< the function takes its pane itself, or none */

Value openWindow(Library &library, Window &window, unsigned char embedMode);
Value closeWindow(Library &library, Window &window);

/** Any function of the library by its name: a list of its result and of the records that it was given. */
Value callFunction(Library &library, const Window &window, const std::string &function, Expect expect, int nPane,
                   const Value::List &arguments);

Value playFile(Library &library, const Window &window, int nPane, const std::string &file, bool bLoop, bool bOverlay);

/** A JPEG of the picture, or of a part in thousandths (four numbers). */
Value capture(Library &library, const Window &window, int nPane, const Value &part, unsigned long dwQuality);

/** Requests are lists of log-in, channel, stream, overlay and address (null: the log-in's). */
Value previewBatch(Library &library, const Window &window, const Value::List &requests);

/** The record, and the picture's width and height, or 0. */
Value getRule(Library &library, const Window &window, int nPane, long lRule);

/** Words of the record, from a byte on, are pixels of the picture: x, y, x, y and so on. nWords 0: thousandths. */
Value setRule(Library &library, const Window &window, int nPane, long lRule, Bytes record, std::size_t nFirst,
              std::size_t nWords);

} // namespace pellora::node

#endif
