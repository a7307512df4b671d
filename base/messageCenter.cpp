#include "keelanim/base/messageCenter.h"

#include "keelanim/base/clientServer.h"

TclientServer* TmessageCenter::fsMessageBoard = nullptr;

void TmessageCenter::messageBoardInit()
{
    // Function-local, so the board outlives every static that may post to it
    // during start-up, and is destroyed once at exit.
    static TclientServer board;
    fsMessageBoard = &board;
}
