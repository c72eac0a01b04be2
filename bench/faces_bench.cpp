// Costs of the face store on a catalogue of 10 000 persons and 200 000
// faces over 100 000 files (two faces a file; every tenth face unassigned,
// the others given to the persons in turn): the lists of persons in each
// order, the faces of one file, the files and faces of one person, and the
// commit that recounts file_count after face changes.
//
// The recount at commit counts the files of each person whose faces
// changed, through the person index of person_face_table, so its cost
// follows the persons touched, not the catalogue. BM_RecountAfterFaceChanges
// shows it: 1 000 face changes spread over 10, 100 or 1 000 persons, in a
// catalogue of a tenth of the size and in the full one.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_rows.h"
#include "faces/face_rows.h"
#include "faces/individual_rows.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "library/database_registry.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;

template <class Interface>
ComPtr<Interface> MakeInstance(const IID& iid) {
    ComPtr<Interface> made;
    if (ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(made.Receive())) != S_OK) return {};
    return made;
}

// The library started on a fresh root with files files, files / 10 persons
// and two faces a file. Face f (from 1) lies in file (f + 1) / 2; every
// tenth face is unassigned, the others go to the persons in turn.
class FaceCatalogue {
public:
    explicit FaceCatalogue(int64_t files) : m_files(files), m_persons(files / 10) {
        std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_root = pattern;
        CZanTString root = CZanTString::FromUtf8(m_root.c_str());
        if (!zandb4::bench::StartLibrary(root)) return;
        m_store = DatabaseRegistry::fileBasicDB;
        if (m_store == nullptr) return;
        m_ok = AddFiles() && AddPersons() && AddFaces() && m_store->Commit(false) == S_OK;
    }
    ~FaceCatalogue() {
        ZanDB4_Finalize();
        zandb4::bench::KeptLibraryStopped();
        std::filesystem::remove_all(m_root);
    }

    bool Ok() const { return m_ok; }
    int64_t Files() const { return m_files; }
    int64_t Persons() const { return m_persons; }
    int64_t Faces() const { return m_files * 2; }
    CSQLiteFileBasicDB* Store() { return m_store; }

    // Makes changes face changes, spread evenly over the first persons
    // persons: each face goes to the person after its own, and back on the
    // next call. In the store's open transaction, as the face manager works.
    void ChangeFaces(int64_t changes, int64_t persons) {
        CriticalSectionGuard guard(m_store->m_lock);
        FaceTableRows faces(*m_store);
        for (int64_t index = 0; index < changes; ++index) {
            const std::vector<uint64_t>& own = m_facesOfPerson[static_cast<size_t>(index % persons)];
            uint64_t faceId = own[static_cast<size_t>(index / persons) % own.size()];
            ComPtr<IZanDB4FaceDBRecord> face;
            if (faces.LoadFace(faceId, CSQLiteFileBasicDB::kPerson, face.Receive()) != S_OK) continue;
            uint64_t current = 0;
            face->GetIndividualID(&current);
            uint64_t home = static_cast<uint64_t>(index % persons) + 1;
            uint64_t away = home % static_cast<uint64_t>(m_persons) + 1;
            uint64_t target = current == home ? away : home;
            face->SetIndividualID(target);
            faces.UpdateFace(faceId, CSQLiteFileBasicDB::kPerson, face.Get());
        }
    }

private:
    bool AddFiles() {
        CriticalSectionGuard guard(m_store->m_lock);
        for (int64_t id = 1; id <= m_files; ++id) {
            FileRowValues row;
            row.fileId = static_cast<uint64_t>(id);
            row.filePath.Format(u"/photos/%lld/IMG_%lld", static_cast<long long>(id / 100), static_cast<long long>(id));
            row.fileName.Format(u"IMG_%lld.JPG", static_cast<long long>(id));
            row.diskVsn = 0x1234;
            row.fileFormat = 3;
            row.manage = 1;
            if (FileTableRows(*m_store).InsertFileRow(row) != S_OK) return false;
        }
        return true;
    }

    bool AddPersons() {
        CriticalSectionGuard guard(m_store->m_lock);
        for (int64_t id = 1; id <= m_persons; ++id) {
            ComPtr<IZanDB4IndividualDBRecord> person =
                MakeInstance<IZanDB4IndividualDBRecord>(IID_IZanDB4IndividualDBRecord);
            if (!person) return false;
            CZanTString name;
            // Names in an order other than the ids.
            name.Format(u"person %05lld", static_cast<long long>((id * 7919) % m_persons));
            person->SetName(name);
            person->SetIndividualType(CSQLiteFileBasicDB::kPerson);
            if (IndividualRows(*m_store).InsertIndividual(static_cast<uint64_t>(id), person.Get()) != S_OK)
                return false;
        }
        // Every third person has a place in the user's order.
        CArray<IZanDB4IndividualDBRecord*> placed;
        std::vector<ComPtr<IZanDB4IndividualDBRecord>> held;
        for (int64_t id = m_persons; id >= 1; id -= 3) {
            ComPtr<IZanDB4IndividualDBRecord> person =
                MakeInstance<IZanDB4IndividualDBRecord>(IID_IZanDB4IndividualDBRecord);
            person->SetID(static_cast<uint64_t>(id));
            placed.Add(person.Get());
            held.push_back(person);
        }
        return IndividualRows(*m_store).SetCustomOrder(CSQLiteFileBasicDB::kPerson, placed) == S_OK;
    }

    bool AddFaces() {
        CriticalSectionGuard guard(m_store->m_lock);
        ComPtr<IZanDB4FaceDBRecord> face = MakeInstance<IZanDB4FaceDBRecord>(IID_IZanDB4FaceDBRecord);
        if (!face) return false;
        FaceTableRows faces(*m_store);
        m_facesOfPerson.assign(static_cast<size_t>(m_persons), {});
        int64_t assigned = 0;
        for (int64_t faceId = 1; faceId <= Faces(); ++faceId) {
            RECT rect{static_cast<int32_t>(faceId % 1000), 40, static_cast<int32_t>(faceId % 1000) + 120, 160};
            face->SetRect(&rect);
            face->SetFileID(static_cast<uint64_t>((faceId + 1) / 2));
            uint64_t person = 0;
            if (faceId % 10 != 0) {
                person = static_cast<uint64_t>(assigned++ % m_persons) + 1;
                m_facesOfPerson[person - 1].push_back(static_cast<uint64_t>(faceId));
            }
            face->SetIndividualID(person);
            if (faces.InsertFace(static_cast<uint64_t>(faceId), CSQLiteFileBasicDB::kPerson, face.Get()) != S_OK)
                return false;
        }
        return true;
    }

    std::filesystem::path m_root;
    int64_t m_files = 0;
    int64_t m_persons = 0;
    bool m_ok = false;
    CSQLiteFileBasicDB* m_store = nullptr;
    // The faces each person had when the catalogue was built.
    std::vector<std::vector<uint64_t>> m_facesOfPerson;
};

// The catalogue of that many files, built on first use and kept until one of
// another size is asked for (the library runs once per process).
std::unique_ptr<FaceCatalogue>& CurrentCatalogue() {
    static std::unique_ptr<FaceCatalogue> current;
    return current;
}

FaceCatalogue& CatalogueOf(int64_t files) {
    std::unique_ptr<FaceCatalogue>& current = CurrentCatalogue();
    if (!current || current->Files() != files) {
        current.reset();
        current = std::make_unique<FaceCatalogue>(files);
        zandb4::bench::KeepLibraryUp([] { CurrentCatalogue().reset(); });
    }
    return *current;
}

void ReleaseAll(CArray<IZanDB4IndividualDBRecord*>& records) {
    for (ptrdiff_t index = 0; index < records.GetSize(); ++index) records.GetAt(index)->Release();
    records.RemoveAll();
}

void ReleaseAll(CArray<IZanDB4FaceDBRecord*>& records) {
    for (ptrdiff_t index = 0; index < records.GetSize(); ++index) records.GetAt(index)->Release();
    records.RemoveAll();
}

// Every person, in order 1 (table), 2 (name), 3 (registration) and 4 (the
// user's order, the unplaced after the placed).
void BM_ListIndividuals(benchmark::State& state) {
    FaceCatalogue& catalogue = CatalogueOf(100'000);
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    const auto order = static_cast<uint32_t>(state.range(0));
    CArray<IZanDB4IndividualDBRecord*> persons;
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        IndividualRows(*catalogue.Store()).ListIndividuals(CSQLiteFileBasicDB::kPerson, persons, order);
        if (persons.GetSize() != catalogue.Persons()) state.SkipWithError("a person is missing from the list");
        ReleaseAll(persons);
    }
    state.SetItemsProcessed(state.iterations() * catalogue.Persons());
}
BENCHMARK(BM_ListIndividuals)->Arg(1)->Arg(2)->Arg(3)->Arg(4)->Unit(benchmark::kMillisecond);

// The faces of one file, a different file each time.
void BM_FacesInFile(benchmark::State& state) {
    FaceCatalogue& catalogue = CatalogueOf(100'000);
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    CArray<IZanDB4FaceDBRecord*> faces;
    uint64_t fileId = 1;
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        FaceTableRows(*catalogue.Store()).GetFacesInFile(fileId, CSQLiteFileBasicDB::kPerson, faces);
        if (faces.GetSize() != 2) state.SkipWithError("a file did not give its two faces");
        ReleaseAll(faces);
        fileId = fileId % static_cast<uint64_t>(catalogue.Files()) + 1;
    }
}
BENCHMARK(BM_FacesInFile)->Unit(benchmark::kMicrosecond);

// The files of one person with their faces (18 of each here), through the
// file manager as the application asks for them, and the live file count.
void BM_FilesAndFacesOfPerson(benchmark::State& state) {
    FaceCatalogue& catalogue = CatalogueOf(100'000);
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    ComPtr<IZanDB4FileDBMgr> files = MakeInstance<IZanDB4FileDBMgr>(IID_IZanDB4FileDBMgr);
    if (!files) {
        state.SkipWithError("no file manager");
        return;
    }
    CList<IZanDB4FileDBRecord*> records;
    CList<IZanDB4FaceDBRecord*> faces;
    uint64_t personId = 1;
    for (auto _ : state) {
        files->ListFilesOfPerson(personId, &records, 0, &faces);
        benchmark::DoNotOptimize(catalogue.Store()->CountFilesOfIndividual(personId, CSQLiteFileBasicDB::kPerson));
        if (faces.IsEmpty()) state.SkipWithError("a person had no faces");
        while (!records.IsEmpty()) records.RemoveHead()->Release();
        while (!faces.IsEmpty()) faces.RemoveHead()->Release();
        personId = personId % static_cast<uint64_t>(catalogue.Persons()) + 1;
    }
}
BENCHMARK(BM_FilesAndFacesOfPerson)->Unit(benchmark::kMicrosecond);

// 1 000 face changes over range(1) persons in a catalogue of range(0)
// files, then the commit; only the commit is timed.
void BM_RecountAfterFaceChanges(benchmark::State& state) {
    FaceCatalogue& catalogue = CatalogueOf(state.range(0));
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    const int64_t persons = state.range(1);
    for (auto _ : state) {
        state.PauseTiming();
        catalogue.ChangeFaces(1'000, persons);
        if (static_cast<int64_t>(catalogue.Store()->PersonRecounts().size()) < persons)
            state.SkipWithError("the changes did not touch every person asked for");
        state.ResumeTiming();
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        benchmark::DoNotOptimize(catalogue.Store()->Commit(false));
    }
    state.counters["persons_touched"] = static_cast<double>(persons);
    state.counters["catalogue_faces"] = static_cast<double>(catalogue.Faces());
}
BENCHMARK(BM_RecountAfterFaceChanges)
    ->Args({10'000, 10})
    ->Args({10'000, 100})
    ->Args({10'000, 1'000})
    ->Args({100'000, 10})
    ->Args({100'000, 100})
    ->Args({100'000, 1'000})
    ->Unit(benchmark::kMillisecond);

}  // namespace
