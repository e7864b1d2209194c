#include "store/transaction.h"

#include <cstddef>

namespace tovra {

Transaction::Transaction(json::Value record) {
    for (const json::Value member : record.children()) {
        const std::string_view name = member.name();
        const auto take = [&]<std::size_t size>(const char(&wanted)[size], json::Value& into) {
            if (isText(name, wanted)) into = member;
        };
        switch (name.size()) {
            case 4:
                take("type", type_);
                take("date", date_);
                break;
            case 5:
                take("payee", payee_);
                break;
            case 6:
                take("amount", amount_);
                take("splits", splits_);
                break;
            case 8:
                take("currency", currency_);
                take("category", category_);
                break;
            case 9:
                take("accountID", accountID_);
                break;
            case 11:
                take("subcategory", subcategory_);
                break;
            case 17:
                take("transferAccountID", transferAccountID_);
                break;
            default:
                break;
        }
    }
}

}  // namespace tovra
