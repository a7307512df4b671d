#include "keelanim/base/translator.h"

namespace {
bool sReadingFile = false;
bool sWritingFile = false;
}  // namespace

bool TglobalTranslatorBase::readingFileCondition()
{
    return sReadingFile;
}

bool TglobalTranslatorBase::writingFileCondition()
{
    return sWritingFile;
}

void TglobalTranslatorBase::setReadingFileCondition(bool reading)
{
    sReadingFile = reading;
}

void TglobalTranslatorBase::setWritingFileCondition(bool writing)
{
    sWritingFile = writing;
}
