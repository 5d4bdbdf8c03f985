/* A program that does nothing: the start-up benchmark's yardstick. */
int main(void) { return 0; }
