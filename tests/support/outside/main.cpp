// Uses every class of the library as its header comments say.

#include "support/support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

int g_failures = 0;

void Check(bool condition, const char* what) {
    if (condition)
        return;
    std::fprintf(stderr, "failed: %s\n", what);
    ++g_failures;
}

class Worker : public CASThread {
public:
    explicit Worker(CASMessageQueue& queue) : m_queue(queue) {}
    int32_t Execute(void* param) override {
        m_queue.PutMessage({7, *static_cast<uint32_t*>(param), 1.5, 0});
        return 0;
    }

private:
    CASMessageQueue& m_queue;
};

class Texts : public CASResourceLoad {
public:
    Texts() : CASResourceLoad(nullptr) {}
    const char* getResourceName(uint32_t id) override { return id == 1 ? "a.txt" : nullptr; }
};

void UseThreads() {
    CASMessageQueue messages;
    Worker worker(messages);
    uint32_t param = 9;
    Check(worker.startThread(&param, ASThreadPriorityNormal, 0) == 0, "thread");
    Check(messages.GetMessage().param == 9, "message");
    worker.WaitForThreadExit();
    CASQueue queue;
    queue.Put(&param);
    Check(queue.Get() == &param, "queue");
    void* event = ASMacCreateEvent(true, true, nullptr);
    Check(ASMacWaitForSingleEvent(event, 0) == ASWaitObject, "event");
    ASMacDeleteEvent(event);
    CASMacSemaphore semaphore(1, 1, nullptr);
    Check(semaphore.WaitForSemaphore(0) == ASWaitObject, "semaphore");
    CASMemoryPool pool(24, 1024, 8);
    pool.FreeMemory(pool.GetMemory(24));
}

void UseFiles(const std::string& folder) {
    CASFileManager files;
    char name[64];
    const std::string path = folder + "/" + files.CreateFileName(name, sizeof name);
    {
        CASFile file(path.c_str(), ASFileOperationWrite);
        Check(file.writeBytes("abc", 3, 1, 0) == 3, "write");
    }
    CASFile file(path.c_str(), ASFileOperationRead);
    Check(file.getFileSize() == 3, "size");
    Check(files.SetKeyValue("value", "key"), "store text");
    Check(std::strcmp(files.GetKeyValue("key"), "value") == 0, "stored text");
    Check(files.DeleteFile(path.c_str()), "delete");
    CASLocalizedStrings strings(nullptr);
    strings.setLocalizedString("a", nullptr, "b");
    Check(std::strcmp(strings.getLocalizedString("a", nullptr, nullptr), "b") == 0, "table");
    CASResourceData data;
    Check(Texts().ASLoadResource(1, ASResourceTypePath, &data), "resource");
}

void Draw() {
    CGContext context(100, 50);
    CASDrawGraphic graphic;
    CASFont font("DejaVu Sans");
    Check(graphic.DrawText(&context, font, CASRect(5, 5, 90, 20), "text", 4), "text");
    Check(graphic.DrawRect(&context, 1, 1, 98, 48, 0xFF336699, ASLineStyleDotted), "rectangle");
    context.strokePath();
    Check(context.pixel(1, 1) != 0, "painted");
    Check(CASFontCollection().GetSystemFontCount() >= 0, "fonts");
    Check(ASCreateImage("none.png") == nullptr, "image");
    uint32_t color = 0;
    ASHLSToRGB(0, 0.5, 1, &color);
    Check(color == 0xFFFF00FF, "color");
    Check(ASExtensionSize(400, 300, 200, 200).height == 150, "size");
}

} // namespace

int main(int, char** argv) {
    const std::string folder = argv[1];
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    Check(ASInitializeLogA(folder.c_str()), "log");
    CASObject::LogMessage(ASLogTypeInformation, "%d cores", ASGetCpuCoreCount());
    UseThreads();
    UseFiles(folder);
    Draw();
    ASDeInitializeLog();
    return g_failures == 0 ? 0 : 1;
}
