#pragma once

#include "keelanim/base/export.h"
#include "keelanim/base/tstring.h"

#include <cstdio>

// TdebugOutput: where debug printing goes. The default writes to a C stream
// (standard output unless another is given); subclasses may collect the text
// instead, as TdebugStringOutput does.
class KEEL_API TdebugOutput {
public:
    explicit TdebugOutput(std::FILE* stream = stdout) : fStream(stream) {}
    TdebugOutput(TdebugOutput const&) = delete;
    TdebugOutput& operator=(TdebugOutput const&) = delete;
    virtual ~TdebugOutput();

    // printf-style formatting; text longer than 1023 characters is cut.
    void print(char const* format, ...) __attribute__((format(printf, 2, 3)));

protected:
    virtual void write(char const* text);

private:
    std::FILE* fStream;
};

class KEEL_API TdebugStringOutput : public TdebugOutput {
public:
    TdebugStringOutput() : TdebugOutput(nullptr) {}
    Tstring const& text() const { return fText; }

protected:
    void write(char const* text) override { fText.append(text); }

private:
    Tstring fText;
};
