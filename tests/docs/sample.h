#pragma once

// What belongs to the file, not to the class below.

class Bare {
public:
    int Nothing();
};

// A class.
class Sample {
public:
    Sample();
    Sample(const Sample&) = delete;
    virtual ~Sample();

    int NotTheClassComment();

    // A family.
    int First();
    int Second(const char* szTheFirstOfTwoLongArgumentsOfThis,
               const char* szTheSecondOfTwoLongArgumentsOfThis);
    int Third() { return 3; }

    int BehindABlankLine();
    int Behind();  // what it does
    int AfterBehind();
    int Value() const { return m_nValue; }
    int Computed() const {
        const int nOne = 1;
        return m_nValue + nOne;
    }

    // Its label ends the family.
    int Labelled();

protected:
    int Inner();

public:
    int AfterTheLabel();
    virtual int Pure() = 0;
    struct Plain {
        int nField;
        int Operation();
    };

private:
    int m_nValue;
};

// Open to all: "<tag>", \n, %d, @param and #1.
namespace space {

int InTheSpace();

// Signs are no commands: "<tag>", \n, %d, @param, #1 and a::b.
//   a table   of <rows>
//   and       "another"
int Signs();
constexpr int BELOW = 1;

constexpr int CONSTANT = 1;
using Type = int;

}  // namespace space

// Of the whole program.
int Global();

int OtherGlobal();
