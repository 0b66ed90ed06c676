#pragma once

namespace host {

// As long as it lives Ctrl-C is only noted, so that what is being shown can end in good order.
class Interruptible {
public:
    Interruptible();
    ~Interruptible();
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;

    bool HasCome() const;  // Ctrl-C
    // Rests a moment; true when Ctrl-C came.
    bool Pause() const;

private:
    void (*m_pBefore)(int);
};

}  // namespace host
