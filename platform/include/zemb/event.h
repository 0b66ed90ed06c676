#pragma once

#include "zemb/export.h"

// Events that the modules of a process send each other, by number. Any thread.

// Takes events. The handler belongs to who registered it, and must live as long as an event may be
// on its way to it.
class ZEMB_API TEEventHandler {
public:
    // Handles one event, on the thread that sent it; pData is the sender's and may be null. 0:
    // done.
    virtual int HandleEvent(int nEvent, void* pData) = 0;
    virtual ~TEEventHandler();
};

// Hands an event to the handlers of its number.
class ZEMB_API TEEventMgr {
public:
    // Never null; lives to the end of the process.
    static TEEventMgr* Instance();

    // Registers a handler for an event number; nFlag is 1. 0, or -1 for a null handler and for one
    // that has the number already.
    virtual int RegisterHandler(TEEventHandler* pHandler, int nEvent, int nFlag) = 0;
    // 0, or -1 for a handler that has not got the number.
    virtual int UnRegisterHandler(TEEventHandler* pHandler, int nEvent) = 0;
    // Calls the handlers of the number one after another, in the order of their registration and
    // with no lock held. What a handler throws is noted in the default channel; the next one is
    // called all the same. Returns how many answered 0.
    virtual int SendEvent(int nEvent, void* pData) = 0;

protected:
    virtual ~TEEventMgr();
};
