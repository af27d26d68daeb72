#pragma once

#include "base/Result.h"

#include <QString>

namespace tavrik {

/// Translates recordings into text of the target language. Main thread only.
class AbstractTranslator {
public:
    AbstractTranslator() = default;
    AbstractTranslator(const AbstractTranslator&) = delete;
    AbstractTranslator& operator=(const AbstractTranslator&) = delete;
    virtual ~AbstractTranslator() = default;

    /// Opens the connection that the next translate() will use in advance.
    virtual void prepare() = 0;

    /// Sends the file and delivers the text, trimmed and possibly empty. The completion is called on the main
    /// thread: before it returns when nothing is sent (an unreadable file, not signed in and no key), else
    /// through the main queue.
    virtual void translate(const QString& audioFile, Completion<QString> completion) = 0;
};

} // namespace tavrik
