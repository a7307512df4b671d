#pragma once

#include "keelanim/base/export.h"

class TclientServer;

// TmessageCenter: the application-wide message board, a server that any
// library may post to and any observer may listen on. It is created by the
// first messageBoardInit() and lives until the library unloads.
class KEEL_API TmessageCenter {
public:
    static void messageBoardInit();
    static TclientServer* fsMessageBoard;
};
