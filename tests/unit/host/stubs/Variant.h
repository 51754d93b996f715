// In what the stub adaptors differ. Only Variant.cpp is compiled for each of them, from the definitions of its library.
#pragma once

/// What StubAdaptor does in a call.
enum class Act {
    Nothing,
    Fail,
    Print,
    PrintAndExit,
    Exit,
    ExitElsewhere,
    Hang,
    Throw,
    ThrowNumber,
    Abort,
    RunTool,
    ToolInterrupts,
    ToolFails,
    ToolOutgrows,
    SendAndFault
};

/// When the storage under StubBoard logs a refusal: in Init, or at each look-up of an address.
enum class Refused { Nothing, Seeding, Reading };

/// What StubBoard and StubLeds have: faulty DSPs, ports and LEDs, only good ones, or none.
enum class Parts { Faulty, Good, None };

struct Variant {
    Act m_create;
    Act m_init;
    Act m_start;
    Act m_stop;
    Act m_read;
    Parts m_parts;
    Refused m_refused;
};

extern const Variant TheVariant;

/// The stub's own part of the entry points.
void* CreateStub();
void DestroyStub(void* adaptor);
