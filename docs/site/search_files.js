// SPDX-License-Identifier: MIT
// Search for a site that is opened as files. A browser then neither starts the worker of the search
// nor lets it read the index, so this class takes the place of the worker. It reads the same index
// from a script.

class FileWorker {
    postMessage(message) {
        if (message.init) {
            this.load(["search/lunr.js", "search/search_index.js"]);
        } else {
            this.answer({ results: this.find(message.query) });
        }
    }

    answer(data) {
        this.onmessage({ data });
    }

    // Loads scripts one after another, because the index needs the library.
    load([first, ...others]) {
        const script = document.createElement("script");
        script.src = `${base_url}/${first}`;
        script.onload = () => (others.length ? this.load(others) : this.ready());
        document.head.append(script);
    }

    ready() {
        this.answer({ config: siteSearch.config });
        this.answer({ allowSearch: true });
    }

    // Indexing takes about a second, so it waits for the first search.
    index() {
        lunr.tokenizer.separator = new RegExp(siteSearch.config.separator);
        return lunr(function () {
            this.field("title");
            this.field("text");
            this.ref("location");
            siteSearch.docs.forEach((page) => this.add(page));
        });
    }

    find(query) {
        this.pages ||= new Map(siteSearch.docs.map((page) => [page.location, page]));
        this.known ||= this.index();
        return this.known.search(query).map(({ ref }) => {
            const page = this.pages.get(ref);
            return { ...page, summary: page.text.substring(0, 200) };
        });
    }
}

if (location.protocol === "file:") {
    window.Worker = FileWorker;
}
