#pragma once

#include "keelanim/base/export.h"

// TglobalTranslatorBase: whether the host is reading or writing a scene file
// right now. The host sets the conditions around its file operations; the
// engine only reads them (keys report their stored tangent types while a
// file is written).
class KEEL_API TglobalTranslatorBase {
public:
    static bool readingFileCondition();
    static bool writingFileCondition();
    static void setReadingFileCondition(bool reading);
    static void setWritingFileCondition(bool writing);
};
