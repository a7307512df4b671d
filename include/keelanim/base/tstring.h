#pragma once

#include "keelanim/base/export.h"

#include <string>

// Tstring: a growable text, for preference command strings and debug output.
class KEEL_API Tstring {
public:
    Tstring() = default;
    Tstring(char const* text);  // NOLINT(google-explicit-constructor): text literals read naturally

    // A null text sets or appends nothing.
    void set(char const* text);
    void append(char const* text);
    void append(Tstring const& text);
    void appendChar(char c);
    // The same as appendChar; both names are in use by callers.
    void catenateChar(char c) { appendChar(c); }

    char const* asChar() const { return fText.c_str(); }
    unsigned length() const { return static_cast<unsigned>(fText.size()); }
    bool empty() const { return fText.empty(); }

    friend bool operator==(Tstring const& a, Tstring const& b) { return a.fText == b.fText; }
    friend bool operator==(Tstring const& a, char const* b) { return b != nullptr && a.fText == b; }

private:
    std::string fText;
};
