// A shared object that is no module.

int Nothing();

int Nothing() {
    return 0;
}
