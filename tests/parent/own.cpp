// The client's own style: a warning of ours is none of his, and these words are his to use.
int own(int value);
int own(int value) {
    const int slots = value;
    if (value > 0) {
        const int value = 2 * slots;
        return value;
    }
    return slots;
}
#ifdef QT_NO_KEYWORDS
#error "definitions of the tree below reach the client"
#endif
