// A static object that opens its block in main() and closes it when static objects are destroyed: the tables must still stand.
#include "zarlib/frame/local_objects.h"

#include <cstdio>

namespace {

struct late_user {
  chMutex_Local mutex;
  chMapFile_Local map;
  int *value = nullptr;

  ~late_user() {
    mutex.Lock(-1);
    chMapFile_Local again;
    std::printf("still %d, ", *static_cast<int *>(again.OpenMapFile("late", 1)));
    again.CloseMapFile();
    map.CloseMapFile();
    mutex.Unlock();
    mutex.CloseMutex();
    std::printf("closed\n");
  }
};

late_user user;

} // namespace

int main() {
  user.mutex.OpenMutexA("late");
  user.value = static_cast<int *>(user.map.OpenMapFile("late", sizeof(int)));
  *user.value = 42;
  std::printf("created %d\n", user.map.IsCreateByMe());
  return 0;
}
