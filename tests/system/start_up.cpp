/* Starts up and ends, for tests of what start-up cannot do without. */

#include <render/render.h>

int main()
{
	Init();
	DeInit();
}
