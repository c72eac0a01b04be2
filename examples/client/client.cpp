// A client of libzandb4: records an import run in the catalogue under ROOT
// and a picture in the camera list kept in CAMERA_FOLDER, then reads both
// back and prints how many each holds. Exits 0 only when every call did.
#include <cstdio>

#include "zandb4.h"

namespace {

// Names a call that did not answer S_OK, with its result code.
bool Succeeded(HRESULT hr, const char* call) {
    if (hr != S_OK) std::fprintf(stderr, "%s failed: 0x%08X\n", call, static_cast<unsigned>(hr));
    return hr == S_OK;
}

// Appends a run to the import journal, commits it, and counts the runs.
bool RecordImportRun() {
    // Managers and blank records come from the factory by identifier, with
    // one reference for the caller.
    IZanDB4ImportMgr* imports = nullptr;
    IZanDB4ImportDBRecord* run = nullptr;
    CArray<IZanDB4ImportDBRecord*> runs;
    bool ok =
        Succeeded(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, reinterpret_cast<void**>(&imports)), "ImportDBMgr") &&
        Succeeded(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBRecord, reinterpret_cast<void**>(&run)), "ImportDBRecord");
    if (ok) {
        SYSTEMTIME now = {2026, 11, 0, 21, 9, 30, 0, 0};
        run->SetDate(&now);
        run->SetClass(1);
        ok = Succeeded(imports->AddImportHistory(run), "AddImportHistory") &&  // inside the open transaction
             Succeeded(imports->Commit(), "Commit") &&                         // made durable here
             Succeeded(imports->GetImportHistories(&runs), "GetImportHistories");
    }
    if (ok) std::printf("import runs: %td\n", runs.GetSize());
    for (ptrdiff_t i = 0; i < runs.GetSize(); ++i) runs[i]->Release();
    if (run) run->Release();  // give every reference back before Finalize
    if (imports) imports->Release();
    return ok;
}

// Lists a picture in the camera list (once: a later run finds it there) and
// counts the files listed. The camera list works without ZanDB4_Initialize.
bool ListCameraPicture(const CZanTString& folder) {
    IZanDB4TethraImportFileMgr* camera = nullptr;
    if (!Succeeded(ZanCamDB_CreateMgrInstance(&camera), "ZanCamDB_CreateMgrInstance")) return false;
    CZanTString picture = folder;
    picture.AppendPath(u"IMG_0001.JPG");
    CList<IZanDB4TethraImportFileRecord*> files;
    bool ok = Succeeded(camera->Open(folder.GetString(), /*wait=*/false), "Open");
    if (ok && !camera->HasFilePath(picture.GetString())) {
        IZanDB4TethraImportFileRecord* file = nullptr;
        ok = Succeeded(camera->CreateRecord(&file), "CreateRecord");
        if (ok) {
            SYSTEMTIME taken = {2026, 11, 0, 21, 9, 12, 0, 0};
            file->SetPath(picture);
            file->SetDate(&taken);
            ok = Succeeded(camera->AddFile(file, nullptr), "AddFile") && Succeeded(camera->Commit(), "Commit");
            file->Release();
        }
    }
    if (ok) ok = Succeeded(camera->GetAllFiles(&files), "GetAllFiles");
    if (ok) std::printf("camera files: %td\n", files.GetCount());
    while (!files.IsEmpty()) files.RemoveHead()->Release();
    camera->Close();
    camera->Release();
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr,
                     "usage: %s ROOT CAMERA_FOLDER\n"
                     "records an import run in the catalogue under ROOT and a picture in the\n"
                     "camera list in CAMERA_FOLDER (which must exist), and prints their counts\n",
                     argv[0]);
        return 2;
    }
    // Paths cross the interface as UTF-16.
    const CZanTString root = CZanTString::FromUtf8(argv[1]);
    const CZanTString cameraFolder = CZanTString::FromUtf8(argv[2]);

    // Start the library on the root; it makes "database" and "information"
    // under it. Calls are counted: each Initialize needs a Finalize, also a
    // failed one, and only the first and the last do any work.
    bool ok = Succeeded(ZanDB4_Initialize(root.GetString()), "ZanDB4_Initialize") && RecordImportRun();
    ZanDB4_Finalize();  // the last one commits and closes every store

    ok = ListCameraPicture(cameraFolder) && ok;
    return ok ? 0 : 1;
}
