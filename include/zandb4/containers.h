// The caller's containers: CArray, a growable array, and CList, a doubly
// linked list whose nodes come from a block pool.
//
// Lists and arrays that cross the library boundary are always owned by the
// caller. The library appends to them; elements that are interface pointers
// carry one reference each, which the caller gives back. Neither container
// ever calls AddRef or Release on its elements.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

// CArray: size, capacity and a grow-by step. Reading an index outside
// [0, size) or setting a negative size throws std::invalid_argument.
template <class T>
class CArray {
public:
    CArray() = default;
    ~CArray() { RemoveAll(); }
    CArray(const CArray&) = delete;
    CArray& operator=(const CArray&) = delete;

    ptrdiff_t GetSize() const { return m_size; }
    ptrdiff_t GetCount() const { return m_size; }
    ptrdiff_t GetCapacity() const { return m_capacity; }
    ptrdiff_t GetUpperBound() const { return m_size - 1; }
    bool IsEmpty() const { return m_size == 0; }

    // growBy: the step used when growing past capacity; -1 keeps the current
    // one. A step of 0 means size / 8, clamped to [4, 1024].
    void SetSize(ptrdiff_t newSize, ptrdiff_t growBy = -1) {
        if (newSize < 0) throw std::invalid_argument("CArray::SetSize: negative size");
        if (growBy >= 0) m_growBy = growBy;
        if (newSize == 0) {
            DestroyRange(0, m_size);
            std::free(m_data);
            m_data = nullptr;
            m_size = m_capacity = 0;
            return;
        }
        if (newSize <= m_capacity) {
            if (newSize > m_size)
                ConstructRange(m_size, newSize);
            else
                DestroyRange(newSize, m_size);
            m_size = newSize;
            return;
        }
        ptrdiff_t step = m_growBy;
        if (step == 0) {
            step = m_size / 8;
            step = step < 4 ? 4 : (step > 1024 ? 1024 : step);
        }
        ptrdiff_t newCapacity = m_capacity + step;
        if (newCapacity < newSize) newCapacity = newSize;
        Relocate(newCapacity);
        ConstructRange(m_size, newSize);
        m_size = newSize;
    }

    T& GetAt(ptrdiff_t index) { return m_data[Checked(index)]; }
    const T& GetAt(ptrdiff_t index) const { return m_data[Checked(index)]; }
    T& ElementAt(ptrdiff_t index) { return GetAt(index); }
    T& operator[](ptrdiff_t index) { return GetAt(index); }
    const T& operator[](ptrdiff_t index) const { return GetAt(index); }
    void SetAt(ptrdiff_t index, const T& value) { GetAt(index) = value; }

    T* GetData() { return m_data; }
    const T* GetData() const { return m_data; }

    // Stores a new element at the end: SetSize(size + 1), then assignment.
    ptrdiff_t Add(const T& value) {
        ptrdiff_t index = m_size;
        SetSize(index + 1);
        m_data[index] = value;
        return index;
    }

    void RemoveAt(ptrdiff_t index, ptrdiff_t count = 1) {
        Checked(index);
        if (count < 0 || index + count > m_size)
            throw std::invalid_argument("CArray::RemoveAt: range outside the array");
        for (ptrdiff_t i = index; i + count < m_size; ++i) m_data[i] = std::move(m_data[i + count]);
        SetSize(m_size - count);
    }

    void RemoveAll() { SetSize(0); }

private:
    ptrdiff_t Checked(ptrdiff_t index) const {
        if (index < 0 || index >= m_size) throw std::invalid_argument("CArray: index out of range");
        return index;
    }
    void ConstructRange(ptrdiff_t from, ptrdiff_t to) {
        for (ptrdiff_t i = from; i < to; ++i) new (&m_data[i]) T();
    }
    void DestroyRange(ptrdiff_t from, ptrdiff_t to) {
        if constexpr (!std::is_trivially_destructible_v<T>)
            for (ptrdiff_t i = from; i < to; ++i) m_data[i].~T();
    }
    void Relocate(ptrdiff_t newCapacity) {
        T* fresh = static_cast<T*>(std::malloc(sizeof(T) * static_cast<size_t>(newCapacity)));
        if (fresh == nullptr) throw std::bad_alloc();
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (m_size > 0) std::memcpy(static_cast<void*>(fresh), m_data, sizeof(T) * static_cast<size_t>(m_size));
        } else {
            for (ptrdiff_t i = 0; i < m_size; ++i) {
                new (&fresh[i]) T(std::move(m_data[i]));
                m_data[i].~T();
            }
        }
        std::free(m_data);
        m_data = fresh;
        m_capacity = newCapacity;
    }

    T* m_data = nullptr;
    ptrdiff_t m_size = 0;
    ptrdiff_t m_capacity = 0;
    ptrdiff_t m_growBy = 0;
};

// A position in a CList, as handed out by GetHeadPosition and GetNext.
typedef struct ZanListPosition* POSITION;

// CList: elements appended at the tail, nodes taken from blocks of
// m_blockSize nodes. Emptying the list frees the block chain in one go and
// calls nothing on the elements, which is why elements must be trivially
// destructible (plain values and interface pointers).
template <class T>
class CList {
    static_assert(std::is_trivially_destructible_v<T>, "CList elements are dropped without destruction");

public:
    explicit CList(ptrdiff_t blockSize = 10) : m_blockSize(blockSize > 0 ? blockSize : 10) {}
    ~CList() { RemoveAll(); }
    CList(const CList&) = delete;
    CList& operator=(const CList&) = delete;

    ptrdiff_t GetCount() const { return m_count; }
    ptrdiff_t GetSize() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }

    POSITION AddTail(const T& value) {
        Node* node = NewNode(m_tail, nullptr, value);
        if (m_tail) m_tail->next = node; else m_head = node;
        m_tail = node;
        return AsPosition(node);
    }
    POSITION AddHead(const T& value) {
        Node* node = NewNode(nullptr, m_head, value);
        if (m_head) m_head->prev = node; else m_tail = node;
        m_head = node;
        return AsPosition(node);
    }

    T& GetHead() { return NonEmpty(m_head)->value; }
    T& GetTail() { return NonEmpty(m_tail)->value; }
    const T& GetHead() const { return NonEmpty(m_head)->value; }
    const T& GetTail() const { return NonEmpty(m_tail)->value; }

    T RemoveHead() {
        Node* node = NonEmpty(m_head);
        T value = node->value;
        Unlink(node);
        return value;
    }
    T RemoveTail() {
        Node* node = NonEmpty(m_tail);
        T value = node->value;
        Unlink(node);
        return value;
    }
    void RemoveAt(POSITION position) { Unlink(NonEmpty(AsNode(position))); }

    POSITION GetHeadPosition() const { return AsPosition(m_head); }
    POSITION GetTailPosition() const { return AsPosition(m_tail); }
    // Returns the element at position and moves position to the next one
    // (null after the tail).
    T& GetNext(POSITION& position) const {
        Node* node = NonEmpty(AsNode(position));
        position = AsPosition(node->next);
        return node->value;
    }
    T& GetPrev(POSITION& position) const {
        Node* node = NonEmpty(AsNode(position));
        position = AsPosition(node->prev);
        return node->value;
    }
    T& GetAt(POSITION position) const { return NonEmpty(AsNode(position))->value; }
    void SetAt(POSITION position, const T& value) { NonEmpty(AsNode(position))->value = value; }

    // The element at a zero-based index, walking from the head.
    POSITION FindIndex(ptrdiff_t index) const {
        if (index < 0 || index >= m_count) return nullptr;
        Node* node = m_head;
        while (index-- > 0) node = node->next;
        return AsPosition(node);
    }

    // One reset of head, tail, count and free list, then the block chain is
    // freed. Nothing is called on the elements.
    void RemoveAll() {
        m_head = m_tail = m_free = nullptr;
        m_count = 0;
        while (m_blocks) {
            Block* next = m_blocks->next;
            std::free(m_blocks);
            m_blocks = next;
        }
    }

private:
    struct Node {
        Node* next;
        Node* prev;
        T value;
    };
    struct Block {
        Block* next;
    };

    static POSITION AsPosition(Node* node) { return reinterpret_cast<POSITION>(node); }
    static Node* AsNode(POSITION position) { return reinterpret_cast<Node*>(position); }
    static Node* NonEmpty(Node* node) {
        if (node == nullptr) throw std::invalid_argument("CList: no element at this position");
        return node;
    }

    Node* NewNode(Node* prev, Node* next, const T& value) {
        if (m_free == nullptr) AddBlock();
        Node* node = m_free;
        m_free = m_free->next;
        node->prev = prev;
        node->next = next;
        new (&node->value) T(value);
        ++m_count;
        return node;
    }
    void AddBlock() {
        // Nodes follow the block header, aligned for Node.
        size_t header = (sizeof(Block) + alignof(Node) - 1) / alignof(Node) * alignof(Node);
        void* memory = std::malloc(header + sizeof(Node) * static_cast<size_t>(m_blockSize));
        if (memory == nullptr) throw std::bad_alloc();
        Block* block = static_cast<Block*>(memory);
        block->next = m_blocks;
        m_blocks = block;
        Node* nodes = reinterpret_cast<Node*>(static_cast<char*>(memory) + header);
        for (ptrdiff_t i = m_blockSize - 1; i >= 0; --i) {
            nodes[i].next = m_free;
            m_free = &nodes[i];
        }
    }
    void Unlink(Node* node) {
        if (node->prev) node->prev->next = node->next; else m_head = node->next;
        if (node->next) node->next->prev = node->prev; else m_tail = node->prev;
        node->next = m_free;
        m_free = node;
        if (--m_count == 0) RemoveAll();
    }

    Node* m_head = nullptr;
    Node* m_tail = nullptr;
    Node* m_free = nullptr;
    Block* m_blocks = nullptr;
    ptrdiff_t m_count = 0;
    ptrdiff_t m_blockSize;
};
