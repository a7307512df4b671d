#include "keelanim/base/tstring.h"

Tstring::Tstring(char const* text)
{
    set(text);
}

void Tstring::set(char const* text)
{
    fText = text != nullptr ? text : "";
}

void Tstring::append(char const* text)
{
    if (text != nullptr) {
        fText += text;
    }
}

void Tstring::append(Tstring const& text)
{
    fText += text.fText;
}

void Tstring::appendChar(char c)
{
    fText.push_back(c);
}
